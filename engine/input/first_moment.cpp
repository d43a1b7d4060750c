#include "input/first_moment.h"

extern "C" {
#include <libavutil/intreadwrite.h>
}

#include <algorithm>

namespace oriplayer {

namespace {

// People do not see sound that is late by this; cutting it is better than a still picture at every switch.
constexpr int64_t kPictureMayLagUs = 50'000;
// Interleaving is seldom worse than this: what has not come by then does not begin near the start.
constexpr int64_t kWaitForSoundUs = 1'000'000;
constexpr int64_t kWaitForPictureUs = 3'000'000;
// A stream that has had no key frame by now is one that refreshes bit by bit; reordering is at most 16 pictures deep.
constexpr int kPicturesWithoutKey = 100;
constexpr int kReorderedPictures = 17;

int64_t skippedUs(const AVPacket &packet, int rate) {
    std::size_t size = 0;
    const uint8_t *data = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
    return data && size >= 4 && rate > 0 ? av_rescale(AV_RL32(data), 1'000'000, rate) : 0;
}

}  // namespace

bool FirstMoment::take(const AVPacket &packet, SourceInput::Stream stream, int audioRate) {
    if (stream == SourceInput::Stream::kVideo) {
        takePicture(packet);
    } else {
        takeSound(packet, audioRate);
    }
    const bool soundKnown = !wantAudio_ || firstSound_ != AV_NOPTS_VALUE;
    const bool pictureKnown = !wantVideo_ || videoDone_;
    if (soundKnown && pictureKnown) return true;
    if (pictureKnown) return latestPicture_ - firstPicture_ > kWaitForSoundUs;
    return soundKnown && wantAudio_ && latestSound_ - firstSound_ > kWaitForPictureUs;
}

void FirstMoment::takePicture(const AVPacket &packet) {
    if (packet.flags & AV_PKT_FLAG_DISCARD) return;  // in front of an edit: decoded, not shown
    const bool key = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    if (key && !sawKey_) firstPicture_ = AV_NOPTS_VALUE;  // what came before it cannot be decoded
    if (key && !sawKey_) pictures_ = 0;
    sawKey_ = sawKey_ || key;
    const int64_t shown = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
    firstPicture_ = firstPicture_ == AV_NOPTS_VALUE ? shown : std::min(firstPicture_, shown);
    latestPicture_ = packet.dts != AV_NOPTS_VALUE ? packet.dts : shown;
    ++pictures_;
    // Nothing that is decoded from here on can be shown earlier.
    const bool reorderingSeen = packet.dts != AV_NOPTS_VALUE && packet.dts >= firstPicture_;
    if (sawKey_) videoDone_ = reorderingSeen || pictures_ >= kReorderedPictures;
    if (!sawKey_) videoDone_ = pictures_ >= kPicturesWithoutKey;
}

void FirstMoment::takeSound(const AVPacket &packet, int rate) {
    if (packet.flags & AV_PKT_FLAG_DISCARD) return;
    if (firstSound_ == AV_NOPTS_VALUE) firstSound_ = packet.pts + skippedUs(packet, rate);
    latestSound_ = packet.pts;
}

int64_t FirstMoment::us() const {
    if (firstPicture_ == AV_NOPTS_VALUE) return firstSound_ == AV_NOPTS_VALUE ? 0 : firstSound_;
    if (firstSound_ == AV_NOPTS_VALUE || firstPicture_ - firstSound_ <= kPictureMayLagUs) return firstPicture_;
    return firstSound_;
}

}  // namespace oriplayer
