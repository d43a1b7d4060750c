#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <vector>

#include "bound_log.h"
#include "i420_view.h"

namespace vexoplay {

/// A picture of our own, rows without padding.
struct StagedPicture {
    std::vector<uint8_t> bytes;
    PictureFacts facts;

    void assign(const I420View &picture, const PictureFacts &from);
    I420View view() const;
    bool empty() const { return bytes.empty(); }
};

/// Hands the newest picture from the engine's picture thread to the window's. Neither waits for the other: the lock is
/// held for an exchange of two buffers, and a picture that the window has not fetched is replaced by the next one.
/// Threads:  put() on one thread at a time, fetch() on another.
class PictureSlot {
public:
    void put(const I420View &picture, const PictureFacts &facts);
    /// True if there is a newer picture than the one fetched last; `into` then holds it.
    bool fetch(StagedPicture &into);

private:
    StagedPicture filling_;  ///< the putting thread's own
    std::mutex mutex_;       ///< leaf
    StagedPicture ready_;
    bool fresh_ = false;
};

}  // namespace vexoplay
