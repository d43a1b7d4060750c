#pragma once

#include <array>

#include "base/log.h"

namespace vexo {

/// The controls that send a row of values to the engine.
enum class Control : int {
    kRenderVideo,
    kRenderMode,
    kEnhanceMode,
    kVideoRendCutMode,
    kColorBlindType,
    kVideoRendMove,
    kVolume,
    kAudioInfo,
    kAudioEnhance,
    kNightMode,
    kBinocularMode,
    kRotationMatrix,
    kPlaySpeed,
    kPanGuesture,
    kTcConfigParam,
    kAudioMute,
    kVisionIndex,
    kSurfaceSize,
    kGyroscopActive,
    kInterfaceOrientation,
    kWaterMarkInfo,
    kSoriVanTimeStampMode,
    kLiveSeiGettingMode,
    kLiveSEIGettingMode,
    kAudioCallback,
};

/// What tells one control from another.
struct ControlRow {
    enum class Call { kSetParameter, kSetRenderConfig };
    enum class Result { kZero, kEngine };
    enum class Enter { kPlain, kOwn };

    Control control;
    const char *name;
    Call call;
    int key;
    int index;  ///< last argument of the engine's call
    Result result;
    Enter enter;  ///< kOwn: the control writes its line itself, or has none
    LogSeverity exitGate;
    const char *exit;  ///< format with the name as its argument; null: no line
};

namespace control_table {

using enum ControlRow::Call;
using enum ControlRow::Result;
using enum ControlRow::Enter;

#define VEXO_CONTROL(name) Control::k##name, "CodecMediaProcess::Set" #name
// clang-format off
constexpr std::array kRows{  // in enum order
    //                      control                call              key   index result  enter   gate       exit line
    ControlRow{VEXO_CONTROL(RenderVideo),          kSetParameter,    2300, -1, kEngine, kOwn,   LOG_DEBUG, "%s exit"},
    ControlRow{VEXO_CONTROL(RenderMode),           kSetParameter,    2001, -1, kZero,   kOwn,   LOG_INFO,  "CodecMediaProcess::setRenderMode exit"},
    ControlRow{VEXO_CONTROL(EnhanceMode),          kSetParameter,    2002, -1, kEngine, kOwn,   LOG_DEBUG, "%s exit"},
    ControlRow{VEXO_CONTROL(VideoRendCutMode),     kSetRenderConfig, 2011, 0,  kZero,   kOwn,   LOG_DEBUG, "%s exit"},
    ControlRow{VEXO_CONTROL(ColorBlindType),       kSetParameter,    2015, -1, kZero,   kOwn,   LOG_DEBUG, "%s exit"},
    ControlRow{VEXO_CONTROL(VideoRendMove),        kSetRenderConfig, 2011, 0,  kZero,   kOwn,   LOG_DEBUG, "%s exit"},
    ControlRow{VEXO_CONTROL(Volume),               kSetParameter,    3004, -1, kEngine, kOwn,   LOG_DEBUG, nullptr},
    ControlRow{VEXO_CONTROL(AudioInfo),            kSetRenderConfig, 2018, -1, kZero,   kPlain, LOG_DEBUG, "%s setAudioInfo exit"},
    ControlRow{VEXO_CONTROL(AudioEnhance),         kSetParameter,    2100, -1, kZero,   kPlain, LOG_DEBUG, "%ssetAudioEnhance exit"},
    ControlRow{VEXO_CONTROL(NightMode),            kSetParameter,    2012, -1, kZero,   kPlain, LOG_DEBUG, "%s setNightMode exit"},
    ControlRow{VEXO_CONTROL(BinocularMode),        kSetParameter,    2007, -1, kZero,   kPlain, LOG_DEBUG, "%s SetBinocularMode exit"},
    ControlRow{VEXO_CONTROL(RotationMatrix),       kSetParameter,    2004, -1, kZero,   kPlain, LOG_DEBUG, "%s setRotationMatrix exit"},
    ControlRow{VEXO_CONTROL(PlaySpeed),            kSetParameter,    2104, -1, kZero,   kPlain, LOG_DEBUG, "%s setPlaySpeed exit"},
    ControlRow{VEXO_CONTROL(PanGuesture),          kSetParameter,    2003, -1, kZero,   kPlain, LOG_INFO,  "CodecMediaProcess::panGesture exit"},
    ControlRow{VEXO_CONTROL(TcConfigParam),        kSetParameter,    2016, -1, kZero,   kPlain, LOG_DEBUG, "%s setTcConfigParam exit"},
    ControlRow{VEXO_CONTROL(AudioMute),            kSetParameter,    2009, -1, kZero,   kPlain, LOG_INFO,  "%s setAudioMute exit"},
    ControlRow{VEXO_CONTROL(VisionIndex),          kSetRenderConfig, 2014, -1, kZero,   kOwn,   LOG_INFO,  "CodecMediaProcess::setVisionIndex exit"},
    ControlRow{VEXO_CONTROL(SurfaceSize),          kSetParameter,    2008, -1, kZero,   kPlain, LOG_INFO,  "CodecMediaProcess::setSurfaceSize exit"},
    ControlRow{VEXO_CONTROL(GyroscopActive),       kSetParameter,    2005, -1, kZero,   kPlain, LOG_INFO,  "CodecMediaProcess::setGyroscopActive exit"},
    ControlRow{VEXO_CONTROL(InterfaceOrientation), kSetParameter,    2006, -1, kZero,   kPlain, LOG_INFO,  "TarvoPlayer::setInterfaceOrientation exit"},
    ControlRow{VEXO_CONTROL(WaterMarkInfo),        kSetParameter,    2013, -1, kZero,   kPlain, LOG_INFO,  "CodecMediaProcess::KEY_PARAMETER_SET_WATER_MARK_INFO exit"},
    ControlRow{VEXO_CONTROL(SoriVanTimeStampMode), kSetParameter,    2330, -1, kEngine, kPlain, LOG_INFO,  "CodecMediaProcess::setSoriVanTimeStampMode exit"},
    ControlRow{VEXO_CONTROL(LiveSeiGettingMode),   kSetParameter,    2360, -1, kEngine, kPlain, LOG_INFO,  "CodecMediaProcess::setLiveSeiGettingMode exit"},
    ControlRow{VEXO_CONTROL(LiveSEIGettingMode),   kSetParameter,    2360, -1, kEngine, kPlain, LOG_DEBUG, "%s setLiveSeiGettingMode exit"},
    ControlRow{VEXO_CONTROL(AudioCallback),        kSetParameter,    4213, -1, kZero,   kPlain, LOG_DEBUG, nullptr},
};
// clang-format on
#undef VEXO_CONTROL

constexpr bool rowsAreInOrder() {
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        if (kRows[i].control != static_cast<Control>(i)) return false;
    }
    return kRows.size() == static_cast<std::size_t>(Control::kAudioCallback) + 1;
}
static_assert(rowsAreInOrder());

}  // namespace control_table

constexpr const ControlRow &rowOf(Control control) {
    return control_table::kRows[static_cast<std::size_t>(control)];
}

}  // namespace vexo
