#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "decode/audio_decoder.h"
#include "decode/video_decoder.h"
#include "ffmpeg.h"

namespace oriplayer {

/// What travels from the reader to a decoder thread, in order.
///   kFlush   a seek: forget what was before; what ends at or before `targetUs` is not wanted
///   kStream  from here on another decoder (none: this source lacks the stream), behind what the former still holds
///   kPacket  data
///   kEnd     the programme is over, or cannot be read on
/// Times are microseconds on the play scale, which never runs backwards within a generation: position + `baseUs`.
struct StreamItem {
    enum class Kind { kFlush, kStream, kPacket, kEnd };
    Kind kind = Kind::kPacket;
    uint32_t generation = 0;  ///< number of the seek it belongs to
    uint32_t end = 0;         ///< kEnd: its number; something may be added behind an end, and then another one comes
    int64_t targetUs = INT64_MIN;
    int64_t baseUs = 0;  ///< kFlush, kStream: the length of the rounds played before when looping
    std::shared_ptr<VideoDecoder> video;
    std::shared_ptr<AudioDecoder> audio;
    PacketPtr packet;
    /// kStream: pictures that `video` gave ahead. With `goesOn` it is to go on with what it has been fed since;
    /// else it forgets that.
    std::vector<FramePtr> pictures;
    bool goesOn = false;
    /// kStream: the source is read from its beginning, and this is its first moment.
    std::optional<int64_t> beginsUs;
};

/// The packets between the reader and one decoder thread. It never blocks: the reader asks full() before it reads.
/// Threads: any.
class PacketQueue {
public:
    void push(StreamItem item);
    std::optional<StreamItem> pop();
    void clear();

    /// How much time is enough.
    void aimAt(int64_t us);
    /// Enough for now: that time, or 16 MiB.
    bool full() const;
    /// It was full and is so no more by far.
    bool wantsMore() const;
    /// No packet waits.
    bool empty() const;
    int64_t bytes() const;
    /// Time from the first waiting packet to the end of the last, microseconds.
    int64_t spanUs() const;

private:
    int64_t spanLocked() const;

    mutable std::mutex mutex_;
    std::deque<StreamItem> items_;
    int packets_ = 0;
    int64_t bytes_ = 0;
    int64_t enoughUs_ = 4'000'000;
    int64_t endUs_ = INT64_MIN;  ///< end of the last packet
};

}  // namespace oriplayer
