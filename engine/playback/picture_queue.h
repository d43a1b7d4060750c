#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include "ffmpeg.h"

namespace oriplayer {

/// A decoded picture on its way to be shown, or, without a frame, the end of all pictures.
struct Picture {
    FramePtr frame;  ///< 8-bit I420
    uint32_t generation = 0;
    uint32_t end = 0;        ///< number of the end
    int64_t playUs = 0;      ///< on the play scale
    int64_t durationUs = 0;  ///< its own, as the stream tells it
    int64_t baseUs = 0;      ///< play scale minus position
};

/// The few pictures between decoder and presenter. It never blocks.
/// Threads: any.
class PictureQueue {
public:
    /// False, and `picture` stays with the caller, if there is no room.
    bool push(Picture &picture) {
        std::lock_guard lock(mutex_);
        const int64_t waiting = static_cast<int64_t>(pictures_.size());
        if (waiting >= kMost || (waiting >= kEnough && (waiting + 1) * bytesOf(picture) > kMostBytes)) return false;
        pictures_.push_back(std::move(picture));
        return true;
    }

    struct Front {
        int64_t playUs = 0;
        int64_t durationUs = 0;
        std::optional<int64_t> nextUs;  ///< time of the picture behind it, if that is there
    };
    /// The first picture, if it is one of this generation.
    std::optional<Front> front(uint32_t generation) const {
        std::lock_guard lock(mutex_);
        if (pictures_.empty() || !pictures_[0].frame || pictures_[0].generation != generation) return std::nullopt;
        const Picture &first = pictures_.front();
        Front front{first.playUs, first.durationUs, std::nullopt};
        if (pictures_.size() > 1 && pictures_[1].frame) front.nextUs = pictures_[1].playUs;
        return front;
    }

    /// The first picture if it is one of this generation: the queue may have been cleared behind the caller's look.
    std::optional<Picture> pop(uint32_t generation) {
        std::lock_guard lock(mutex_);
        if (pictures_.empty() || !pictures_[0].frame || pictures_[0].generation != generation) return std::nullopt;
        return popLocked();
    }

    enum class Useless { kNone, kOutdated, kEnd };
    /// Takes the first entry away if it is of another generation or the end of this one, and says which; `end` is that
    /// end's number.
    Useless dropUseless(uint32_t generation, uint32_t &end) {
        std::lock_guard lock(mutex_);
        if (pictures_.empty()) return Useless::kNone;
        const bool outdated = pictures_[0].generation != generation;
        if (!outdated && pictures_[0].frame) return Useless::kNone;
        end = popLocked().end;
        return outdated ? Useless::kOutdated : Useless::kEnd;
    }

    void clear() {
        std::lock_guard lock(mutex_);
        pictures_.clear();
    }

private:
    Picture popLocked() {
        Picture picture = std::move(pictures_.front());
        pictures_.pop_front();
        return picture;
    }

    /// Half as much again as luma for both chroma planes.
    static int64_t bytesOf(const Picture &picture) {
        return picture.frame ? int64_t{3} * picture.frame->width * picture.frame->height / 2 : 0;
    }

    // Four bridge a decoder's unevenness of 160 ms at 25 pictures a second. Large ones (1920x1080 takes 3 MB) are
    // fewer: the decoder's own threads hold some more.
    static constexpr int64_t kMost = 4;
    static constexpr int64_t kEnough = 2;
    static constexpr int64_t kMostBytes = 8 << 20;

    mutable std::mutex mutex_;
    std::deque<Picture> pictures_;
};

}  // namespace oriplayer
