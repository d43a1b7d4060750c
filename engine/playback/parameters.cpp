#include "playback/parameters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>

#include "subtitle/subtitle_parameters.h"

namespace oriplayer {
namespace {

enum Number : int {
    kRotation = 2004,
    kOrientation = 2006,
    kSurfaceSize = 2008,
    kMute = 2009,
    kSpeed = 2104,
    kHidePictures = 2300,
    kVolume = 3004,
    kAudioDevice = 3006,
    kSubtitleLook = 3301,
    kTwoSubtitles = 3302,
    kSubtitles = 3303,
    kSubtitleDelay = 3304,
    kNetworkChanged = 3901,
    kFrameRate = 1600,
    kVideoBitRate = 1601,
    kKeyFrameBytes = 1602,
    kHlsState = 1610,
    kNetworkBytes = 1707,
    kConsumed = 1709,
    kStatistics = 2019,
    kCurrentVolume = 3005,
    kHlsVariant = 3904,
    kNoSchedule = 4001,
    kSchedule = 4002,
    kBufferMonitor = 4003,
};

// Accepted, but without effect.
constexpr std::array kAccepted{1991, 2001, 2002, 2003, 2005, 2007, 2012, 2013, 2015, 2016, 2100, 2330,
                               2360, 3200, 3201, 3202, 3300, 3600, 4100, 4101, 4102, 4105, 4213};

constexpr double kSlowest = 0.5;
constexpr double kFastest = 4.0;

int32_t toInt(int64_t value) {
    return static_cast<int32_t>(std::clamp<int64_t>(value, 0, INT32_MAX));
}

float ratio(int64_t part, int64_t whole, double scale = 1.0) {
    return whole > 0 ? static_cast<float>(static_cast<double>(part) * scale / static_cast<double>(whole)) : 0.0f;
}

}  // namespace

int Parameters::set(int number, const Param &value) {
    const Param reading(value);  // begins at the first value
    switch (number) {
        case kRotation:
            return setRotation(reading);
        case kOrientation:
            return setOrientation(reading.getInt32(-1));
        case kSurfaceSize:
            return setSurfaceSize(reading);
        case kMute:
            return setMute(reading.getInt32(-1) != 0);
        case kSpeed:
            return setSpeed(reading.getDouble(-1));
        case kHidePictures:
            return setShowPictures(reading.getInt32(-1) == 0);
        case kVolume:
            return setVolume(reading.getFloat(-1));
        case kAudioDevice:
            return setDevice(reading.getCString(-1));
        case kSubtitleLook:
            return setSubtitleLook(value);
        case kTwoSubtitles:
        case kSubtitles:
            return setSubtitles(value);
        case kSubtitleDelay:
            session_.stage().subtitles.setDelay(reading.getInt32(-1));
            return 0;
        case kNetworkChanged:
            return session_.changeNetwork(reading.getInt32(-1)) ? 0 : -1;
        default:
            return std::find(kAccepted.begin(), kAccepted.end(), number) != kAccepted.end() ? 0 : -1;
    }
}

int Parameters::setVolume(float volume) {
    if (std::isnan(volume)) return -1;
    AudioRenderer &sound = session_.stage().sound;
    std::lock_guard lock(loudnessMutex_);
    volume_ = std::clamp(volume, 0.0f, 1.0f);
    volumeOff_ = volumeOff_ && volume_ == 0.0f;
    sound.setVolume(volume_);
    sound.setMuted(muted_ || volumeOff_);
    return 0;
}

int Parameters::setMute(bool muted) {
    Stage &stage = session_.stage();
    std::lock_guard lock(loudnessMutex_);
    if (!stage.control.preparing()) {
        volumeOff_ = muted;
    } else {
        // Unmuting first ends a mute that was set after prepareAsync. So muting and unmuting leaves a volume of 0 at 0.
        if (!muted && !muted_) volumeOff_ = false;
        muted_ = muted;
    }
    stage.sound.setMuted(muted_ || volumeOff_);
    return 0;
}

float Parameters::heardVolume() const {
    std::lock_guard lock(loudnessMutex_);
    return volumeOff_ ? 0.0f : volume_;
}

int Parameters::setDevice(const char *name) {
    Stage &stage = session_.stage();
    const std::string device = name ? name : "";
    if (!device.empty() && !AudioRenderer::deviceExists(device)) return -1;
    stage.settings.setAudioDevice(device);
    if (!stage.sound.opened()) return 0;
    return stage.sound.setDevice(device) ? -1 : 0;
}

int Parameters::setSpeed(double speed) {
    if (!std::isfinite(speed)) return -1;
    Stage &stage = session_.stage();
    stage.clock.setSpeed(std::clamp(speed, kSlowest, kFastest));
    stage.wakeAll();
    return 0;
}

int Parameters::setRotation(const Param &value) {
    const int count = value.getInt32(0);
    const auto *matrix = static_cast<const float *>(value.getPointer(2));
    const auto turn = [=](SurfaceView &view) { return view.setMatrix(count, matrix); };
    return session_.stage().surface.adjust(turn) ? 0 : -1;
}

int Parameters::setOrientation(int value) {
    return session_.stage().surface.adjust([=](SurfaceView &view) { return view.setOrientation(value); }) ? 0 : -1;
}

int Parameters::setSurfaceSize(const Param &value) {
    const int width = value.getInt32(0);
    const int height = value.getInt32(1);
    const auto resize = [=](SurfaceView &view) { return view.setSize(width, height); };
    return session_.stage().surface.adjust(resize) ? 0 : -1;
}

int Parameters::setSubtitles(const Param &value) {
    auto files = readSubtitleFiles(value);
    return files && session_.chooseSubtitles(std::move(*files)) ? 0 : -1;
}

int Parameters::setSubtitleLook(const Param &value) {
    auto look = readSubtitleLook(value);
    if (!look) return -1;
    session_.stage().subtitles.setLook(std::move(*look));
    return 0;
}

int Parameters::setShowPictures(bool show) {
    session_.stage().showPictures = show;
    return 0;
}

bool Parameters::lacksVideo() const {
    const Counters &counters = session_.stage().counters;
    return counters.opened && !counters.hasVideo;
}

int Parameters::get(int number, Param &value) const {
    const Counters &counters = session_.stage().counters;
    Param answer;
    const bool aboutVideo = number == kFrameRate || number == kVideoBitRate || number == kKeyFrameBytes;
    if (aboutVideo && lacksVideo()) return -1;
    const bool aboutHls = number == kHlsState || number == kHlsVariant;
    if (aboutHls && hlsReport().variants == 0) return -1;
    switch (number) {
        case kFrameRate:
            answer.putDouble(counters.frameRate);
            break;
        case kVideoBitRate:
            answer.putInt64(counters.videoUs > 0 ? av_rescale(counters.videoBytes, 8'000'000, counters.videoUs) : 0);
            break;
        case kKeyFrameBytes:
            answer.putInt64(counters.keyPackets > 0 ? counters.keyBytes / counters.keyPackets : 0);
            break;
        case kNetworkBytes:
            answer.putInt64(counters.networkBytes);
            break;
        case kConsumed:
            answer.putInt64(usedBytes());
            answer.putInt64(counters.presentedUs / 1000);
            break;
        case kStatistics:
            getStatistics(answer);
            break;
        case kCurrentVolume:
            answer.putFloat(heardVolume());
            break;
        case kHlsState:
            getHlsState(answer);
            break;
        case kHlsVariant:
            answer.putInt32(hlsReport().playing);
            break;
        case kNoSchedule:
            answer.putInt32(1);
            break;
        case kSchedule:
            answer.putCString("", true);
            break;
        case kBufferMonitor:
            getBuffer(answer);
            break;
        default:
            return -1;
    }
    value = answer;
    return 0;
}

VariantTimes::Report Parameters::hlsReport() const {
    const Stage &stage = session_.stage();
    return stage.variants.report(stage.clock.nowUs());
}

// 39 ints in the order that reports expect; fields without a meaning here are 0.
void Parameters::getHlsState(Param &answer) const {
    const VariantTimes::Report hls = hlsReport();
    std::array<int64_t, 39> ints{};
    if (hls.variants > 0) ints[1] = hls.live ? 2 : 1;  // streamTypeCode
    ints[2] = hls.start;                               // startGearIndex
    ints[19] = Reader::kMostBytes;                     // maxBufBytes
    ints[20] = std::max(hls.variants - 1, 0);          // highestGear
    for (int i = 0; i < VariantTimes::kMostVariants; ++i) {
        const int gear = VariantTimes::kMostVariants - 1 - i;
        ints[static_cast<std::size_t>(22 + i)] = hls.playedUs[static_cast<std::size_t>(gear)] / 1'000'000;
    }
    ints[36] = hls.switchesDown;  // downGearCount
    ints[37] = hls.switchesUp;    // upGearCount
    ints[38] = hls.variants;      // gearCount
    for (const int64_t value : ints) answer.putInt32(toInt(value));
}

// The demuxer can serve a seek from its own buffer, so a packet can be queued twice although its bytes were read once.
// Without the limit, bytes that still wait to be decoded would then count as used.
int64_t Parameters::usedBytes() const {
    const Stage &stage = session_.stage();
    const int64_t waiting = stage.videoPackets.bytes() + stage.audioPackets.bytes();
    const int64_t most = std::max<int64_t>(0, stage.counters.mediumBytes - waiting);
    return std::min<int64_t>(stage.counters.decoderBytes + stage.counters.discardedBytes, most);
}

void Parameters::getBuffer(Param &answer) const {
    const Stage &stage = session_.stage();
    const int64_t us = std::max(stage.videoPackets.spanUs(), stage.audioPackets.spanUs());
    const int64_t bytes = stage.videoPackets.bytes() + stage.audioPackets.bytes();
    const std::string text = "bufferedMs:" + std::to_string(us / 1000) + ",bufferedBytes:" + std::to_string(bytes) +
                             ",stalls:" + std::to_string(stage.counters.stalls) + ",";
    answer.putCString(text.c_str(), true);
}

// 28 ints and 5 floats in the order that reports expect.
void Parameters::getStatistics(Param &answer) const {
    const Counters &c = session_.stage().counters;
    const int64_t dropped = c.picturesDropped;
    const int64_t skipped = c.picturesSkipped;
    const int64_t stalls = c.stalls;
    const std::array<int64_t, 28> ints{
        0,                                                                  // eventType
        c.videoCodec,                                                       // videoCodec
        0,                                                                  // decodingType: software
        c.presentedUs / 1000,                                               // playTimeTotal, ms
        c.apart,                                                            // avUnSynchronizedTotal
        skipped,                                                            // videoDecodeDroppedFramesTotal
        dropped,                                                            // videoRenderDroppedFramesTotal
        c.soundsDamaged,                                                    // audioDecodeDroppedFramesTotal
        c.soundsDropped,                                                    // audioRenderDroppedFramesTotal
        c.audioPackets,                                                     // audioDecodeInputTotal
        c.soundsDecoded,                                                    // audioDecodeOutputTotal
        c.videoPackets,                                                     // videoDecodeInputTotal
        c.picturesDecoded,                                                  // videoDecodeOutputTotal
        c.hasVideo ? stalls : 0,                                            // videoStuckTotal
        c.hasAudio ? stalls : 0,                                            // audioStuckTotal
        c.soundsMissing,                                                    // noAudioTotal
        c.hasVideo && c.hasAudio ? stalls : 0,                              // noVideoAudioTotal
        c.picturesStuck,                                                    // imageStuckTotal
        0,                                                                  // blackScreenTotal
        0,                                                                  // greenScreenTotal
        0,                                                                  // blurredScreenTotal
        0,                                                                  // videoBlackBorderTotal
        std::llround(c.frameRate.load()),                                   // frameRate
        c.sampleRate,                                                       // sampleRate
        session_.stage().subtitles.failures(),                              // subtitleAbnormalTotal
        0,                                                                  // noAudioIntensityTotal
        0,                                                                  // audioEnhancementVersion
        c.picturesDecoded > 0 ? c.decodeUs / c.picturesDecoded / 1000 : 0,  // avgVideoDecodeCost, ms
    };
    for (const int64_t value : ints) answer.putInt32(toInt(value));
    // The pictures and sounds in a second of the programme, multiplied by the share of them that is decoded or
    // presented. What is decoded ahead, or again after a seek, does not change these figures.
    const float pictures = ratio(c.picturesDecoded, c.picturesDecodedUs, 1e6);
    const float sounds = ratio(c.soundsDecoded, c.soundsDecodedUs, 1e6);
    answer.putFloat(pictures * ratio(c.picturesDecoded, c.picturesDecoded + skipped));        // avgVideoDecodeFrameRate
    answer.putFloat(pictures * ratio(c.picturesShown, c.picturesShown + dropped + skipped));  // avgVideoRenderFrameRate
    answer.putFloat(sounds);                                                                  // avgAuidoDecodeFrameRate
    answer.putFloat(sounds * ratio(c.soundsDecoded - c.soundsDropped, c.soundsDecoded));      // avgAudioRenderFrameRate
    answer.putFloat(ratio(c.renderUs, c.picturesShown, 1e-3));                                // avgVideoRenderCost, ms
}

}  // namespace oriplayer
