#include "playback/packet_queue.h"

#include <algorithm>
#include <utility>

namespace oriplayer {
namespace {

constexpr int64_t kFullBytes = 16 << 20;

int64_t startOf(const AVPacket &packet) {
    return packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
}

}  // namespace

void PacketQueue::push(StreamItem item) {
    std::lock_guard lock(mutex_);
    if (item.packet) {
        ++packets_;
        bytes_ += item.packet->size;
        const int64_t start = startOf(*item.packet);
        if (start != AV_NOPTS_VALUE) endUs_ = std::max(endUs_, start + item.packet->duration);
    }
    items_.push_back(std::move(item));
}

std::optional<StreamItem> PacketQueue::pop() {
    std::lock_guard lock(mutex_);
    if (items_.empty()) return std::nullopt;
    StreamItem item = std::move(items_.front());
    items_.pop_front();
    if (item.packet) {
        --packets_;
        bytes_ -= item.packet->size;
    }
    return item;
}

void PacketQueue::clear() {
    std::lock_guard lock(mutex_);
    items_.clear();
    packets_ = 0;
    bytes_ = 0;
    endUs_ = INT64_MIN;
}

int64_t PacketQueue::spanLocked() const {
    for (const auto &item : items_) {
        if (!item.packet) continue;
        const int64_t start = startOf(*item.packet);
        return start == AV_NOPTS_VALUE || endUs_ == INT64_MIN ? 0 : std::max<int64_t>(0, endUs_ - start);
    }
    return 0;
}

void PacketQueue::aimAt(int64_t us) {
    std::lock_guard lock(mutex_);
    enoughUs_ = us;
}

bool PacketQueue::full() const {
    std::lock_guard lock(mutex_);
    return bytes_ >= kFullBytes || spanLocked() >= enoughUs_;
}

// A quarter below full: the reader wakes for many packets at once then.
bool PacketQueue::wantsMore() const {
    std::lock_guard lock(mutex_);
    return bytes_ < kFullBytes / 4 * 3 && spanLocked() < enoughUs_ / 4 * 3;
}

bool PacketQueue::empty() const {
    std::lock_guard lock(mutex_);
    return packets_ == 0;
}

int64_t PacketQueue::bytes() const {
    std::lock_guard lock(mutex_);
    return bytes_;
}

int64_t PacketQueue::spanUs() const {
    std::lock_guard lock(mutex_);
    return spanLocked();
}

}  // namespace oriplayer
