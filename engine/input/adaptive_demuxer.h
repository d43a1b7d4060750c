#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "input/demuxer.h"
#include "input/held_packets.h"
#include "input/variant_set.h"

namespace oriplayer {

/// A demuxer that may be replaced, at the border of two segments of an HLS set, by one of another variant. The other
/// one is opened beside the present one and taken over if it begins with the very picture that comes next; if it does
/// not, everything stays as it is.
/// Threads:  one at a time; interrupter() may be aborted from any.
class AdaptiveDemuxer {
public:
    /// Within `timeoutMs`.
    MediaError open(const std::string &url, const InputOptions &options, int timeoutMs, SourceInput::Failure &failure);
    int next(PacketPtr &packet, SourceInput::Stream &stream);
    MediaError seek(int64_t us);
    MediaError rewind(int64_t us);
    /// Starts the time of a read or a seek.
    void beginReading(int timeoutMs) { demuxer_->beginReading(timeoutMs); }

    const AVFormatContext *container() const { return demuxer_->container(); }
    const AVStream *video() const { return demuxer_->video(); }
    const AVStream *audio() const { return demuxer_->audio(); }
    bool indexed() const { return demuxer_->indexed(); }
    bool live() const { return demuxer_->live(); }
    int64_t durationUs() const { return variants_.cut() ? lengthUs_ : demuxer_->durationUs(); }
    int64_t bytesRead() const { return closedBytes_ + demuxer_->medium().bytesRead(); }
    bool network() const { return demuxer_->medium().network(); }
    Interrupter &interrupter() { return interrupter_; }
    void takeRoute(const std::string &url, const std::shared_ptr<HostRoute> &route);

    void adapt() { adapts_ = true; }
    SourceInput::Variants variants() const;

private:
    std::unique_ptr<Demuxer> make();
    void forgetPlace();
    bool atBorder(const AVPacket &packet, SourceInput::Stream stream);
    bool change(int variant, int64_t fromUs);
    bool beginsAt(Demuxer &other, int64_t fromUs);
    bool heard(const AVPacket &packet, SourceInput::Stream stream) const;
    void remember(const AVPacket &packet, SourceInput::Stream stream);
    bool mustReopen() const { return variants_.cut() || variants_.fragmented(); }
    MediaError reopenAt(int64_t us);
    void takeOver(std::unique_ptr<Demuxer> other);

    Interrupter interrupter_;
    std::string url_;
    InputOptions options_;
    VariantSet variants_;
    std::unique_ptr<Demuxer> demuxer_ = make();
    HeldPackets joined_;  ///< what was read of another variant to see whether it fits
    bool adapts_ = false;
    uint32_t changes_ = 0;
    uint32_t soundChanges_ = 0;
    int64_t beginUs_ = 0;   ///< the container's time of its first moment
    int64_t lengthUs_ = 0;  ///< of all there is, where the demuxer sees less
    int64_t closedBytes_ = 0;
    bool landed_ = false;  ///< behind a seek, the first key frame need not begin a segment
    int seenPieces_ = 0;
    int64_t soundEndUs_ = INT64_MIN;   ///< of what was handed out
    int64_t soundFromUs_ = INT64_MIN;  ///< what ends before was heard from another variant
};

}  // namespace oriplayer
