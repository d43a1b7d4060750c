#include <algorithm>

#include "base/log.h"
#include "base/oriplayer/player.h"
#include "codec/codec_media_process.h"
#include "codec/control_table.h"

namespace vexo {
namespace {

void put(oriplayer::Param &param, int value) {
    param.putInt32(value);
}
void put(oriplayer::Param &param, float value) {
    param.putFloat(value);
}
void put(oriplayer::Param &param, double value) {
    param.putDouble(value);
}
void put(oriplayer::Param &param, const char *text) {
    param.putCString(text, false);  // lives as long as the call
}
void put(oriplayer::Param &param, void *pointer) {
    param.putPointer(pointer);
}

/// The values in the given order; a bool goes as int 0 or 1.
template <typename... Values> oriplayer::Param pack(Values... values) {
    oriplayer::Param param;
    (put(param, values), ...);
    return param;
}

void enter(Control control) {
    VEXO_PRINT(LOG_DEBUG, "%s enter", rowOf(control).name);
}

void leave(const ControlRow &row) {
    if (row.exit) VEXO_PRINT(row.exitGate, row.exit, row.name);
}

bool isShare(float value) {
    return value >= 0.0F && value <= 1.0F;
}

}  // namespace

int CodecMediaProcess::send(Control control, const oriplayer::Param &param, const Remember &remember) {
    const ControlRow &row = rowOf(control);
    if (row.enter == ControlRow::Enter::kPlain) enter(control);
    int answer = -1;
    if (const auto player = activePlayer()) {
        answer = row.call == ControlRow::Call::kSetParameter ? player->setParameter(row.key, param, row.index)
                                                             : player->setRenderConfig(row.key, param, row.index);
    }
    if (remember) change(remember);
    leave(row);
    return row.result == ControlRow::Result::kEngine ? answer : 0;
}

int CodecMediaProcess::SetRenderVideo(bool render) {
    return send(Control::kRenderVideo, pack(render ? 0 : 1));
}

int CodecMediaProcess::SetRenderMode(int mode, int arg) {
    return send(Control::kRenderMode, pack(mode, arg), [=](CodecPlayState &state) {
        state.renderMode = mode;
        state.renderArg = arg;
    });
}

int CodecMediaProcess::SetEnhanceMode(bool isEnhance, float ratioA, float ratioB) {
    VEXO_PRINT(LOG_DEBUG, "SetEnhanceMode::isEnhance=%d ratio=%f ratio=%f", isEnhance, static_cast<double>(ratioA),
               static_cast<double>(ratioB));
    return send(Control::kEnhanceMode, pack(isEnhance, ratioA, ratioB));
}

int CodecMediaProcess::SetVideoRendCutMode(int mode, float x, float y) {
    if (!isShare(x) || !isShare(y)) {
        VEXO_PRINT(LOG_ERROR, "%s invalid parameter", rowOf(Control::kVideoRendCutMode).name);
        return -1;
    }
    const CodecPlayState whole;
    change([&](CodecPlayState &state) {
        state.rendCutMode = mode;
        state.rendCutX = x;
        state.rendCutY = y;
        state.cutLeft = whole.cutLeft;
        state.cutRight = whole.cutRight;
        state.cutTop = whole.cutTop;
        state.cutBottom = whole.cutBottom;
    });
    return send(Control::kVideoRendCutMode,
                pack(mode, x, y, whole.cutLeft, whole.cutRight, whole.cutTop, whole.cutBottom));
}

int CodecMediaProcess::SetVideoRendMove(float x, float y) {
    const ControlRow &row = rowOf(Control::kVideoRendMove);
    VEXO_PRINT(LOG_DEBUG, "%s enter, %f, %f", row.name, static_cast<double>(x), static_cast<double>(y));
    const CodecPlayState now = state();
    if (now.rendCutMode == CodecPlayState{}.rendCutMode) {
        leave(row);
        return 0;
    }
    return send(Control::kVideoRendMove, pack(now.rendCutMode, now.rendCutX, now.rendCutY, now.cutLeft, now.cutRight,
                                              now.cutTop, now.cutBottom, y));
}

int CodecMediaProcess::SetColorBlindType(int type, int level) {
    VEXO_PRINT(LOG_DEBUG, "%s enter, %d, %d", rowOf(Control::kColorBlindType).name, type, level);
    return send(Control::kColorBlindType, pack(type, level), [=](CodecPlayState &state) {
        state.colorBlindType = type;
        state.colorBlindLevel = level;
    });
}

int CodecMediaProcess::SetVolume(float volume) {
    VEXO_PRINT(LOG_DEBUG, "%s enter, %f", rowOf(Control::kVolume).name, static_cast<double>(volume));
    return send(Control::kVolume, pack(volume));
}

int CodecMediaProcess::SetAudioInfo(int type, int value) {
    return send(Control::kAudioInfo, pack(type, value), [=](CodecPlayState &state) {
        state.audioInfoType = type;
        state.audioInfoValue = value;
    });
}

int CodecMediaProcess::SetAudioEnhance(bool enable) {
    return send(Control::kAudioEnhance, pack(enable));
}

int CodecMediaProcess::SetNightMode(int mode) {
    return send(Control::kNightMode, pack(mode), [=](CodecPlayState &state) { state.nightMode = mode; });
}

int CodecMediaProcess::SetBinocularMode(bool enable) {
    return send(Control::kBinocularMode, pack(enable));
}

int CodecMediaProcess::SetRotationMatrix(int count, float *values, int arg) {
    void *stored = nullptr;
    change([&](CodecPlayState &state) {
        const bool fits = values && count >= 0 && count <= static_cast<int>(state.rotationMatrix.size());
        if (!fits) return;
        std::copy_n(values, count, state.rotationMatrix.begin());
        stored = state.rotationMatrix.data();
    });
    if (!stored) {
        enter(Control::kRotationMatrix);
        VEXO_PRINT(LOG_ERROR, "%s invalid parameter", rowOf(Control::kRotationMatrix).name);
        leave(rowOf(Control::kRotationMatrix));
        return 0;
    }
    return send(Control::kRotationMatrix, pack(count, arg, stored));
}

int CodecMediaProcess::SetPlaySpeed(double speed) {
    return send(Control::kPlaySpeed, pack(speed));
}

int CodecMediaProcess::SetPanGuesture(int kind, float x, float y) {
    return send(Control::kPanGuesture, pack(kind, x, y));
}

int CodecMediaProcess::SetTcConfigParam(int value) {
    return send(Control::kTcConfigParam, pack(value));
}

int CodecMediaProcess::SetAudioMute(bool mute) {
    change([=](CodecPlayState &state) { state.audioMute = mute; });
    return send(Control::kAudioMute, pack(mute));
}

int CodecMediaProcess::SetVisionMode(int mode) {
    change([=](CodecPlayState &state) { state.visionMode = mode; });
    return 0;
}

int CodecMediaProcess::SetVisionIndex(int index) {
    enter(Control::kVisionIndex);
    constexpr int kIndexed = 2;
    if (state().visionMode != kIndexed) {
        leave(rowOf(Control::kVisionIndex));
        return 0;
    }
    return send(Control::kVisionIndex, pack(index), [=](CodecPlayState &state) { state.visionIndex = index; });
}

int CodecMediaProcess::SetSurfaceSize(int width, int height) {
    return send(Control::kSurfaceSize, pack(width, height));
}

int CodecMediaProcess::SetGyroscopActive(bool active) {
    return send(Control::kGyroscopActive, pack(active));
}

int CodecMediaProcess::SetInterfaceOrientation(int orientation) {
    return send(Control::kInterfaceOrientation, pack(orientation));
}

int CodecMediaProcess::SetWaterMarkInfo(int kind, const char *text, void *data, int a, int b, int c, int d, float e,
                                        float f, float g) {
    return send(Control::kWaterMarkInfo, pack(kind, text, data, a, b, c, d, e, f, g));
}

int CodecMediaProcess::SetSoriVanTimeStampMode(bool enable) {
    mSoriVanTimeStampMode = enable;
    return send(Control::kSoriVanTimeStampMode, pack(enable));
}

int CodecMediaProcess::SetLiveSeiGettingMode(bool enable) {
    return send(Control::kLiveSeiGettingMode, pack(enable));
}

int CodecMediaProcess::SetLiveSEIGettingMode(bool enable) {
    return send(Control::kLiveSEIGettingMode, pack(enable));
}

int CodecMediaProcess::SetAudioCallback(void *callback) {
    return send(Control::kAudioCallback, pack(callback),
                [=](CodecPlayState &state) { state.audioCallback = callback; });
}

}  // namespace vexo
