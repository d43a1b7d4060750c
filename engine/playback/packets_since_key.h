#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "ffmpeg.h"

namespace oriplayer {

/// The packets that a video decoder was fed since the last key frame, so that another start leads to the same state.
/// Their data is shared, not copied.
/// Threads: one at a time.
class PacketsSinceKey {
public:
    /// Without a key frame before them packets are not kept; those of a group that grows too large are released.
    void add(const AVPacket &packet);
    void clear();
    /// Empty if what the decoder was fed is not all there.
    const std::vector<PacketPtr> &packets() const { return packets_; }

private:
    // A group of 10 s at 13 Mbit/s.
    static constexpr int64_t kMostBytes = 16 << 20;

    std::vector<PacketPtr> packets_;
    int64_t bytes_ = 0;
};

inline void PacketsSinceKey::add(const AVPacket &packet) {
    const bool key = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    if (key) clear();
    if (!key && packets_.empty()) return;
    PacketPtr kept(av_packet_clone(&packet));
    bytes_ += packet.size;
    if (!kept || bytes_ > kMostBytes) return clear();
    packets_.push_back(std::move(kept));
}

inline void PacketsSinceKey::clear() {
    packets_.clear();
    bytes_ = 0;
}

}  // namespace oriplayer
