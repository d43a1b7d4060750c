#include "bound_log.h"

#include <algorithm>
#include <utility>

namespace vexoplay {

BoundRecord *BoundLog::record(int playerId) {
    // The one asked for is nearly always the last one.
    const auto found = std::find_if(records_.rbegin(), records_.rend(),
                                    [playerId](const BoundRecord &r) { return r.playerId == playerId; });
    return found == records_.rend() ? nullptr : &*found;
}

BoundRecord &BoundLog::recordOf(int playerId, int64_t nowUs) {
    if (BoundRecord *known = record(playerId)) return *known;
    BoundRecord fresh;
    fresh.playerId = playerId;
    fresh.enteredUs = nowUs;
    return records_.emplace_back(std::move(fresh));
}

void BoundLog::entered(int playerId, int item, int64_t nowUs) {
    if (playerId < 0) return;
    std::lock_guard lock(mutex_);
    BoundRecord &known = recordOf(playerId, nowUs);
    if (known.item < 0) known.item = item;
}

void BoundLog::enteredAside(int playerId, int index, const std::string &url, int64_t nowUs) {
    if (playerId < 0) return;
    std::lock_guard lock(mutex_);
    BoundRecord &known = recordOf(playerId, nowUs);
    if (known.item >= 0) return;
    known.timeline = 1;
    known.item = index;
    known.url = url;
}

void BoundLog::learnedAside(int playerId, int64_t lengthMs) {
    std::lock_guard lock(mutex_);
    BoundRecord *known = record(playerId);
    if (known && known->timeline == 1) known->lengthMs = lengthMs;
}

void BoundLog::prepared(int playerId) {
    std::lock_guard lock(mutex_);
    if (BoundRecord *known = record(playerId)) known->prepared = true;
}

void BoundLog::failed(int playerId) {
    std::lock_guard lock(mutex_);
    if (BoundRecord *known = record(playerId)) known->failed = true;
}

void BoundLog::picture(int playerId, const PictureFacts &facts, double speed) {
    std::lock_guard lock(mutex_);
    BoundRecord *known = record(playerId);
    if (!known) return;
    if (known->pictures++ == 0) known->firstPictureUs = facts.wallUs;
    known->lastPictureUs = facts.wallUs;
    known->lastIntervalUs = static_cast<int64_t>(facts.durationUs / speed);
    known->dropped = std::max(known->dropped, facts.dropped);
    if (facts.latenessUs > kLateUs) ++known->late;
    known->width = facts.width;
    known->height = facts.height;
}

void BoundLog::hashed(int playerId, std::string md5) {
    std::lock_guard lock(mutex_);
    if (BoundRecord *known = record(playerId)) known->md5 = std::move(md5);
}

std::optional<BoundRecord> BoundLog::find(int playerId) const {
    std::lock_guard lock(mutex_);
    const BoundRecord *known = const_cast<BoundLog *>(this)->record(playerId);
    return known ? std::optional(*known) : std::nullopt;
}

std::vector<BoundRecord> BoundLog::all() const {
    std::lock_guard lock(mutex_);
    return records_;
}

int BoundLog::indexOf(int playerId) const {
    std::lock_guard lock(mutex_);
    const BoundRecord *known = const_cast<BoundLog *>(this)->record(playerId);
    return known ? static_cast<int>(known - records_.data()) : -1;
}

int BoundLog::count() const {
    std::lock_guard lock(mutex_);
    return static_cast<int>(records_.size());
}

uint64_t BoundLog::droppedInAll() const {
    std::lock_guard lock(mutex_);
    uint64_t sum = 0;
    for (const BoundRecord &known : records_) sum += known.dropped;
    return sum;
}

}  // namespace vexoplay
