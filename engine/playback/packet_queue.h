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
///   kFlush   a seek: forget what was before (with `goesOn` the decoder does not: what follows is what comes next for
///            it); what ends at or before `targetUs` is not wanted
///   kStream  from here on another decoder (none: this source lacks the stream), behind what the former still holds
///   kPacket  data
///   kEnd     the programme is over, or cannot be read on
///   kUntil   pictures at or behind `targetUs` are not wanted: the next kStream brings them (INT64_MAX: they are)
/// Times are microseconds on the play scale, which never runs backwards within a generation: position + `baseUs`.
struct StreamItem {
    enum class Kind { kFlush, kStream, kPacket, kEnd, kUntil };
    Kind kind = Kind::kPacket;
    uint32_t generation = 0;  ///< number of the seek it belongs to
    uint32_t end = 0;         ///< kEnd: its number; something may be added behind an end, and then another one comes
    int64_t targetUs = INT64_MIN;
    int64_t baseUs = 0;     ///< kFlush, kStream: the length of the rounds played before when looping
    bool mayStall = false;  ///< kStream: the source is read from a network
    std::shared_ptr<VideoDecoder> video;
    std::shared_ptr<AudioDecoder> audio;
    PacketPtr packet;
    /// kStream: pictures that `video` gave ahead. With `goesOn` it is to go on with what it has been fed since;
    /// else it forgets that.
    std::vector<FramePtr> pictures;
    bool goesOn = false;
    int64_t fedUs = INT64_MIN;  ///< with `goesOn`: end of what the decoder has been fed; INT64_MAX: unknown
    /// kStream: it takes over at this moment; what it has before is not wanted.
    std::optional<int64_t> joinUs;
    /// kStream: the source is read from its beginning, and this is its first moment.
    std::optional<int64_t> beginsUs;
};

/// The packets between the reader and one decoder thread. It never blocks: the reader asks full() before it reads.
/// Threads: any.
class PacketQueue {
public:
    void push(StreamItem item);
    /// The first item, if it is of this generation: behind a seek the others wait for what the reader makes of them.
    /// Whoever pops an item carries it out, so that a decoder misses nothing in front of what waits.
    std::optional<StreamItem> pop(uint32_t generation);
    void clear() { takeAll(); }

    struct Content {
        std::deque<StreamItem> items;
        int64_t fedUs = INT64_MIN;  ///< end of what was popped since clear(); INT64_MIN: nothing, INT64_MAX: unknown
    };
    /// Takes everything out.
    Content takeAll();

    struct Cut {
        int64_t playUs = 0;             ///< time of the first packet taken out, or the end of what is there
        std::vector<StreamItem> items;  ///< in order
    };
    struct CutPlace {
        uint32_t generation = 0;
        int64_t fromUs = INT64_MIN;  ///< behind this moment ...
        int64_t leadUs = 0;          ///< ... and as much behind what has been popped
        bool readAll = false;        ///< nothing more comes: at the end, if nothing waits there
    };
    /// Takes out the end of what waits, of the stream read last, from the first packet at that place on. What decodes
    /// pictures before it stays, and a kUntil keeps the others away. Empty if nothing waits there.
    std::optional<Cut> cut(const CutPlace &where);
    /// Takes out what begins at or behind that moment, of the stream read last.
    std::vector<StreamItem> takeBack(int64_t playUs);
    /// Time of the latest packet popped since clear(); INT64_MIN if there was none.
    int64_t takenUs() const;

    /// What is enough: either of them.
    struct Aim {
        int64_t us;
        int64_t bytes;
    };
    void aimAt(const Aim &aim);
    /// Enough waits.
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
    std::vector<StreamItem> takeBackLocked(int64_t playUs);
    std::size_t lastMarkLocked() const;

    mutable std::mutex mutex_;
    std::deque<StreamItem> items_;
    int packets_ = 0;
    int64_t bytes_ = 0;
    Aim enough_{4'000'000, 16 << 20};
    int64_t endUs_ = INT64_MIN;    ///< end of the last packet
    int64_t reachUs_ = INT64_MIN;  ///< the same, as it is presented
    int64_t takenUs_ = INT64_MIN;
    int64_t fedUs_ = INT64_MIN;
};

}  // namespace oriplayer
