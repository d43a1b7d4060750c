#include "input/adaptive_demuxer.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace oriplayer {

namespace {

// Meanwhile what was read ahead is presented: a variant that takes longer to open is not worth a stall.
constexpr int kMostOpenMs = 3000;
// Variants of one set have the same picture at the same time, but for rounding.
constexpr int64_t kSamePictureUs = 10'000;
constexpr std::size_t kMostBytesBefore = 4u << 20;

int64_t timeOf(const AVPacket &packet) {
    return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
}

/// One decoder can go on from the one to the other.
bool sameSound(const AVStream *one, const AVStream *other) {
    if (!one || !other) return one == other;
    const AVCodecParameters &a = *one->codecpar;
    const AVCodecParameters &b = *other->codecpar;
    return a.codec_id == b.codec_id && a.profile == b.profile && a.sample_rate == b.sample_rate &&
           a.ch_layout.nb_channels == b.ch_layout.nb_channels && a.extradata_size == b.extradata_size &&
           (a.extradata_size == 0 ||
            std::memcmp(a.extradata, b.extradata, static_cast<std::size_t>(a.extradata_size)) == 0);
}

}  // namespace

std::unique_ptr<Demuxer> AdaptiveDemuxer::make() {
    auto demuxer = std::make_unique<Demuxer>();
    demuxer->interrupter().follow(&interrupter_);
    return demuxer;
}

MediaError AdaptiveDemuxer::open(const std::string &url, const InputOptions &options, int timeoutMs,
                                 SourceInput::Failure &failure) {
    url_ = url;
    options_ = options;
    options_.variants = &variants_;
    variants_ = {};
    interrupter_.watch(options.cancel);
    forgetPlace();
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        demuxer_ = make();
        demuxer_->interrupter().begin(static_cast<int>(left.count()));
        MediaError error = demuxer_->open(url, options_, failure);
        const bool over = error.native == AVERROR_EXIT || error.native == AVERROR(ETIMEDOUT);
        if (error && !over && variants_.startElsewhere()) continue;
        const bool timed = !error && container()->start_time != AV_NOPTS_VALUE;
        beginUs_ = timed ? container()->start_time : 0;
        return error;
    }
}

void AdaptiveDemuxer::forgetPlace() {
    joined_.clear();
    landed_ = false;
    soundEndUs_ = soundFromUs_ = INT64_MIN;
    variants_.speed().dropPiece();
}

int AdaptiveDemuxer::next(PacketPtr &packet, SourceInput::Stream &stream) {
    do {
        if (!joined_.empty()) {
            packet = joined_.pop(stream);
            continue;
        }
        const int result = demuxer_->next(packet, stream);
        if (result < 0) return result;
        if (!atBorder(*packet, stream)) continue;
        const int wanted = variants_.wanted();
        if (wanted != variants_.current() && change(wanted, timeOf(*packet))) packet = joined_.pop(stream);
    } while (heard(*packet, stream));
    remember(*packet, stream);
    return 0;
}

bool AdaptiveDemuxer::atBorder(const AVPacket &packet, SourceInput::Stream stream) {
    const bool key = stream == SourceInput::Stream::kVideo && (packet.flags & AV_PKT_FLAG_KEY) != 0;
    if (!key) return false;
    const bool another = variants_.pieces() != seenPieces_ && landed_;
    seenPieces_ = variants_.pieces();
    landed_ = true;
    return adapts_ && another && timeOf(packet) != AV_NOPTS_VALUE;
}

bool AdaptiveDemuxer::change(int variant, int64_t fromUs) {
    VariantSet former = variants_;
    if (!variants_.cut()) lengthUs_ = demuxer_->durationUs();
    variants_.showFromHere(variant);
    auto other = make();
    other->interrupter().begin(std::min(options_.timeoutMs / 2, kMostOpenMs));
    auto failure = SourceInput::Failure::kNone;
    if (!other->open(url_, options_, failure) && beginsAt(*other, fromUs)) {
        if (!sameSound(demuxer_->audio(), other->audio())) ++soundChanges_;
        takeOver(std::move(other));
        soundFromUs_ = soundEndUs_;
        seenPieces_ = variants_.pieces();
        ++changes_;
        return true;
    }
    closedBytes_ += other->medium().bytesRead();
    other.reset();
    joined_.clear();
    variants_ = std::move(former);
    if (!interrupter_.aborted()) variants_.blame(variant);
    if (options_.route) options_.route->setUrl(url_);
    return false;
}

/// Reads it up to its second picture: one that is shown before the key frame would need pictures of further ahead.
bool AdaptiveDemuxer::beginsAt(Demuxer &other, int64_t fromUs) {
    if (!other.video() || !demuxer_->audio() != !other.audio()) return false;
    for (int pictures = 0; pictures < 2 && joined_.bytes() < kMostBytesBefore;) {
        PacketPtr packet;
        auto stream = SourceInput::Stream::kVideo;
        const int result = other.next(packet, stream);
        if (result == AVERROR_EOF && pictures == 1) return true;
        if (result < 0) return false;
        if (stream == SourceInput::Stream::kVideo) {
            const int64_t us = timeOf(*packet);
            const bool key = (packet->flags & AV_PKT_FLAG_KEY) != 0;
            const bool fits = pictures == 0 ? key && std::abs(us - fromUs) <= kSamePictureUs : us > fromUs;
            if (!fits) return false;
            ++pictures;
        }
        joined_.push(std::move(packet), stream);
    }
    return joined_.bytes() < kMostBytesBefore;
}

bool AdaptiveDemuxer::heard(const AVPacket &packet, SourceInput::Stream stream) const {
    return stream == SourceInput::Stream::kAudio && packet.pts != AV_NOPTS_VALUE &&
           packet.pts + packet.duration / 2 < soundFromUs_;
}

void AdaptiveDemuxer::remember(const AVPacket &packet, SourceInput::Stream stream) {
    if (stream != SourceInput::Stream::kAudio || packet.pts == AV_NOPTS_VALUE) return;
    soundEndUs_ = std::max(soundEndUs_, packet.pts + packet.duration);
}

/// A demuxer that began in the middle cannot go back, and one of fragments cannot go anywhere: another one begins
/// there.
MediaError AdaptiveDemuxer::reopenAt(int64_t us) {
    VariantSet former = variants_;
    const int64_t lengthUs = durationUs();
    const bool there = variants_.showFrom(us - beginUs_);
    if (!there) variants_.showWhole(variants_.current());
    auto other = make();
    other->interrupter().begin(options_.timeoutMs);
    auto failure = SourceInput::Failure::kNone;
    if (MediaError error = other->open(url_, options_, failure)) {
        other.reset();
        variants_ = std::move(former);
        return error;
    }
    takeOver(std::move(other));
    lengthUs_ = lengthUs;
    demuxer_->beginReading(options_.timeoutMs);
    return there ? MediaError{} : demuxer_->seek(us);
}

void AdaptiveDemuxer::takeOver(std::unique_ptr<Demuxer> other) {
    closedBytes_ += demuxer_->medium().bytesRead();
    demuxer_ = std::move(other);
    if (options_.route) demuxer_->medium().takeRoute(url_, options_.route);  // the former one has said that it ends
}

MediaError AdaptiveDemuxer::seek(int64_t us) {
    forgetPlace();
    return mustReopen() ? reopenAt(us) : demuxer_->seek(us);
}

MediaError AdaptiveDemuxer::rewind(int64_t us) {
    forgetPlace();
    return mustReopen() ? reopenAt(us) : demuxer_->rewind(us);
}

void AdaptiveDemuxer::takeRoute(const std::string &url, const std::shared_ptr<HostRoute> &route) {
    options_.route = route;
    demuxer_->medium().takeRoute(url, route);
}

SourceInput::Variants AdaptiveDemuxer::variants() const {
    const bool list = container() && std::strncmp(container()->iformat->name, "hls", 3) == 0;
    if (!list) return {};
    if (variants_.count() > 0) {
        return {variants_.count(), variants_.start(), variants_.current(), changes_, soundChanges_};
    }
    // FFmpeg's own choice among the variants of a local file: the best.
    const int programs = std::max(1, static_cast<int>(container()->nb_programs));
    return {programs, programs - 1, programs - 1, 0, 0};
}

}  // namespace oriplayer
