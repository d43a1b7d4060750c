#include "playback/packet_queue.h"

#include <algorithm>
#include <utility>

#include "playback/packet_times.h"

namespace oriplayer {

void PacketQueue::push(StreamItem item) {
    std::lock_guard lock(mutex_);
    if (item.packet) {
        ++packets_;
        bytes_ += item.packet->size;
        const int64_t start = startOf(*item.packet);
        if (start != AV_NOPTS_VALUE) endUs_ = std::max(endUs_, start + item.packet->duration);
        const int64_t shown = shownAt(*item.packet);
        if (shown != AV_NOPTS_VALUE) reachUs_ = std::max(reachUs_, shown + item.packet->duration);
    }
    items_.push_back(std::move(item));
}

std::optional<StreamItem> PacketQueue::pop(uint32_t generation) {
    std::lock_guard lock(mutex_);
    if (items_.empty() || items_.front().generation != generation) return std::nullopt;
    StreamItem item = std::move(items_.front());
    items_.pop_front();
    if (item.packet) {
        --packets_;
        bytes_ -= item.packet->size;
        takenUs_ = std::max(takenUs_, shownAt(*item.packet));
        fedUs_ = std::max(fedUs_, endOf(*item.packet));
    }
    fedUs_ = std::max(fedUs_, item.fedUs);
    return item;
}

PacketQueue::Content PacketQueue::takeAll() {
    std::lock_guard lock(mutex_);
    Content content{std::exchange(items_, {}), std::exchange(fedUs_, INT64_MIN)};
    packets_ = 0;
    bytes_ = 0;
    endUs_ = INT64_MIN;
    reachUs_ = INT64_MIN;
    takenUs_ = INT64_MIN;
    return content;
}

// Behind the last item that is neither data nor the end: what follows belongs to the stream read last.
std::size_t PacketQueue::lastMarkLocked() const {
    std::size_t place = items_.size();
    while (place > 0 && (items_[place - 1].packet || items_[place - 1].kind == StreamItem::Kind::kEnd)) --place;
    return place;
}

std::optional<PacketQueue::Cut> PacketQueue::cut(const CutPlace &where) {
    std::lock_guard lock(mutex_);
    const int64_t limit = std::max(where.fromUs, takenUs_ == INT64_MIN ? INT64_MIN : takenUs_ + where.leadUs);
    const std::size_t mark = lastMarkLocked();
    std::optional<int64_t> place;
    for (std::size_t i = mark; i < items_.size(); ++i) {
        const int64_t shown = items_[i].packet ? shownAt(*items_[i].packet) : AV_NOPTS_VALUE;
        if (shown != AV_NOPTS_VALUE && shown > limit) place = std::min(place.value_or(shown), shown);
    }
    if (!place && where.readAll) place = std::max(reachUs_, takenUs_);
    if (!place) return std::nullopt;
    Cut cut{*place, takeBackLocked(*place)};
    StreamItem until;
    until.kind = StreamItem::Kind::kUntil;
    until.generation = where.generation;
    until.targetUs = *place;
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(mark), std::move(until));
    return cut;
}

std::vector<StreamItem> PacketQueue::takeBack(int64_t playUs) {
    std::lock_guard lock(mutex_);
    return takeBackLocked(playUs);
}

std::vector<StreamItem> PacketQueue::takeBackLocked(int64_t playUs) {
    const std::size_t mark = lastMarkLocked();
    std::vector<StreamItem> items;
    while (items_.size() > mark) {
        StreamItem &last = items_.back();
        if (last.packet && shownAt(*last.packet) < playUs) break;
        if (last.packet) {
            --packets_;
            bytes_ -= last.packet->size;
        }
        items.push_back(std::move(last));
        items_.pop_back();
    }
    std::reverse(items.begin(), items.end());
    endUs_ = INT64_MIN;
    for (const StreamItem &item : items_) {
        if (item.packet && startOf(*item.packet) != AV_NOPTS_VALUE) {
            endUs_ = std::max(endUs_, startOf(*item.packet) + item.packet->duration);
        }
    }
    reachUs_ = std::min(reachUs_, playUs);
    return items;
}

int64_t PacketQueue::takenUs() const {
    std::lock_guard lock(mutex_);
    return takenUs_;
}

int64_t PacketQueue::spanLocked() const {
    for (const auto &item : items_) {
        if (!item.packet) continue;
        const int64_t start = startOf(*item.packet);
        return start == AV_NOPTS_VALUE || endUs_ == INT64_MIN ? 0 : std::max<int64_t>(0, endUs_ - start);
    }
    return 0;
}

void PacketQueue::aimAt(const Aim &aim) {
    std::lock_guard lock(mutex_);
    enough_ = aim;
}

bool PacketQueue::full() const {
    std::lock_guard lock(mutex_);
    return bytes_ >= enough_.bytes || spanLocked() >= enough_.us;
}

// A quarter below full: the reader wakes for many packets at once then.
bool PacketQueue::wantsMore() const {
    std::lock_guard lock(mutex_);
    return bytes_ < enough_.bytes / 4 * 3 && spanLocked() < enough_.us / 4 * 3;
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
