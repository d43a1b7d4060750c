// The full record: some sixty labelled fields whose labels, order and separators reporting code parses.
#include <array>

#include "base/log.h"
#include "base/oriplayer/player.h"
#include "codec/codec_media_process.h"
#include "codec/info_by_player.h"
#include "codec/media_keys.h"
#include "codec/report_text.h"

namespace vexo {
namespace {

using oriplayer::IOriPlayer;
using oriplayer::Param;

/// The engine's statistics of a playback, in the order in which parameter 2019 gives them.
enum Statistic : std::size_t {
    kEventType,
    kVideoCodec,
    kDecodingType,
    kPlayTimeTotal,
    kAvUnSynchronizedTotal,
    kVideoDecodeDroppedFramesTotal,
    kVideoRenderDroppedFramesTotal,
    kAudioDecodeDroppedFramesTotal,
    kAudioRenderDroppedFramesTotal,
    kAudioDecodeInputTotal,
    kAudioDecodeOutputTotal,
    kVideoDecodeInputTotal,
    kVideoDecodeOutputTotal,
    kVideoStuckTotal,
    kAudioStuckTotal,
    kNoAudioTotal,
    kNoVideoAudioTotal,
    kImageStuckTotal,
    kBlackScreenTotal,
    kGreenScreenTotal,
    kBlurredScreenTotal,
    kVideoBlackBorderTotal,
    kFrameRate,
    kSampleRate,
    kSubtitleAbnormalTotal,
    kNoAudioIntensityTotal,
    kAudioEnhancementVersion,
    kAvgVideoDecodeCost,
    kFirstAverage,  // whole numbers end here
    kAvgVideoDecodeFrameRate = kFirstAverage,
    kAvgVideoRenderFrameRate,
    kAvgAuidoDecodeFrameRate,
    kAvgAudioRenderFrameRate,
    kAvgVideoRenderCost,
    kStatisticEnd,
};

struct StatisticLabel {
    const char *label;
    Statistic statistic;
};

/// In the order of the text.
constexpr StatisticLabel kStatistics[] = {
    {"eventType=", kEventType},
    {"avUnSynchronizedTotal=", kAvUnSynchronizedTotal},
    {"videoCodec=", kVideoCodec},
    {"decodingType=", kDecodingType},
    {"playTimeTotal=", kPlayTimeTotal},
    {"videoDecodeDroppedFramesTotal=", kVideoDecodeDroppedFramesTotal},
    {"videoRenderDroppedFramesTotal=", kVideoRenderDroppedFramesTotal},
    {"audioDecodeDroppedFramesTotal=", kAudioDecodeDroppedFramesTotal},
    {"audioRenderDroppedFramesTotal=", kAudioRenderDroppedFramesTotal},
    {"audioDecodeInputTotal=", kAudioDecodeInputTotal},
    {"audioDecodeOutputTotal=", kAudioDecodeOutputTotal},
    {"videoDecodeInputTotal=", kVideoDecodeInputTotal},
    {"videoDecodeOutputTotal=", kVideoDecodeOutputTotal},
    {"videoStuckTotal=", kVideoStuckTotal},
    {"imageStuckTotal=", kImageStuckTotal},
    {"noVideoAudioTotal=", kNoVideoAudioTotal},
    {"noAudioTotal=", kNoAudioTotal},
    {"audioStuckTotal=", kAudioStuckTotal},
    {"blackScreenTotal=", kBlackScreenTotal},
    {"greenScreenTotal=", kGreenScreenTotal},
    {"blurredScreenTotal=", kBlurredScreenTotal},
    {"videoBlackBorderTotal=", kVideoBlackBorderTotal},
    {"frameRate=", kFrameRate},
    {"sampleRate=", kSampleRate},
    {"subtitleAbnormalTotal=", kSubtitleAbnormalTotal},
    {"noAudioIntensityTotal=", kNoAudioIntensityTotal},
    {"avgVideoDecodeFrameRate=", kAvgVideoDecodeFrameRate},
    {"avgAuidoDecodeFrameRate=", kAvgAuidoDecodeFrameRate},
    {"avgVideoRenderFrameRate=", kAvgVideoRenderFrameRate},
    {"avgAudioRenderFrameRate=", kAvgAudioRenderFrameRate},
    {"avgVideoRenderCost=", kAvgVideoRenderCost},
    {"avgVideoDecodeCost=", kAvgVideoDecodeCost},
};

/// Durations, told as five times the number of such events.
constexpr StatisticLabel kTimes[] = {
    {"videoStuckTime=", kVideoStuckTotal},     {"noVideoTime=", kImageStuckTotal},
    {"noVideoAudioTime=", kNoVideoAudioTotal}, {"noAudioTime=", kNoAudioTotal},
    {"audioStuckTime=", kAudioStuckTotal},     {"avUnSynchronizedTime=", kAvUnSynchronizedTotal},
};
constexpr int64_t kTimeStep = 5;

/// All zero without a player; what the engine wrote counts whatever it returned.
class PlaybackStatistics {
public:
    explicit PlaybackStatistics(IOriPlayer *player) {
        constexpr int kParamStatistics = 2019;
        Param param;
        if (player) player->getParameter(kParamStatistics, &param, -1);
        for (int &count : counts_) count = param.getInt32(-1);
        for (float &average : averages_) average = param.getFloat(-1);
    }

    int count(Statistic statistic) const { return counts_[statistic]; }
    void put(const StatisticLabel &row, ReportText &text) const {
        if (row.statistic < kFirstAverage) {
            text.put(row.label, counts_[row.statistic]);
        } else {
            text.put(row.label, averages_[row.statistic - kFirstAverage]);
        }
    }

private:
    std::array<int, kFirstAverage> counts_;
    std::array<float, kStatisticEnd - kFirstAverage> averages_;
};

/// Bytes as kilobytes; a failure code stays as it is.
int64_t kilo(int64_t bytes) {
    return bytes < 0 ? bytes : bytes / 1000;
}

constexpr int64_t kNoAnswer = -2;

}  // namespace

std::string CodecMediaProcess::playerRecord(IOriPlayer *player) {
    ReportText text(';');
    text.put("avgKeyFrameSize=", GetAvgKeyFrameSize(false));
    text.put("avgVideoBitrate=", GetAvgVideoBitrate(false));
    text.put("videoFrameRate=", GetVideoFrameRate(false));
    putBufferSizes(player, text);
    putEngineText(player, text);
    putStatistics(player, text);
    text.put("HLSInfo=", getHlsInfo());
    std::string record = text.str();
    VEXO_PRINT(LOG_INFO, "KVPLAYER_INFO_KEY_ALL: %s", record.c_str());
    return record;
}

void CodecMediaProcess::putBufferSizes(IOriPlayer *player, ReportText &text) {
    const int64_t total = activeInfo(PlayerInfo::kDownloadBufferSize, kNoAnswer) + mTotalDownloadBufferSize;
    text.put("totalDownloadBufferSize=", kilo(total));
    if (timeline()) text.raw(classifiedSizes().c_str());
    Param usage;
    if (player) player->getParameter(kParamUsedAndConsumed, &usage, -1);
    const int64_t used = usage.getInt64(-1) + mTotalUsedBufferSize;
    const int64_t consumed = usage.getInt64(-1) + mTotalConsumeDuration;
    readBufferSchedule(player);
    text.put("unUsedBufferSize=", (total - used) / 1000);
    text.put("userConsumeDuration=", consumed);
    const int64_t external = activeInfo(PlayerInfo::kExternalBufferSize, kNoAnswer) + mTotalExternalBufferSize;
    text.put("usedExternalBufferSize=", kilo(external));
}

/// A schedule is there where the engine says 0; the last one is kept for the HLS text.
void CodecMediaProcess::readBufferSchedule(IOriPlayer *player) {
    constexpr int kParamHasSchedule = 4001;
    constexpr int kParamSchedule = 4002;
    if (!player) return;
    Param absent;
    player->getParameter(kParamHasSchedule, &absent, -1);
    if (absent.getInt32(-1) != 0) return;
    Param schedule;
    player->getParameter(kParamSchedule, &schedule, -1);
    const char *text = schedule.getCString(-1);
    if (!text || !*text) return;
    MutexLock lock(mStateLock);
    mBuffSched = text;
}

/// Whole `label=value;` pairs of the engine's own, if it has any.
void CodecMediaProcess::putEngineText(IOriPlayer *player, ReportText &text) {
    constexpr int kParamPairs = 1624;
    Param param;
    if (!player || player->getParameter(kParamPairs, &param, -1) != 0) return;
    if (const char *pairs = param.getCString(-1)) text.raw(pairs);
}

void CodecMediaProcess::putStatistics(IOriPlayer *player, ReportText &text) {
    const PlaybackStatistics statistics(player);
    const CodecPlayState now = state();
    for (const StatisticLabel &row : kStatistics) statistics.put(row, text);
    text.put("colorFilterVersion=", now.filmStyleType);
    text.put("audioEnhancementVersion=", statistics.count(kAudioEnhancementVersion));
    text.put("colorSpaceCorrectVersion=", now.colorSpaceType != 0 && !now.colorSpacePath.empty());
    for (const auto &[label, statistic] : kTimes) text.put(label, kTimeStep * statistics.count(statistic));
}

}  // namespace vexo
