#include "playback/programme.h"

#include <algorithm>
#include <utility>

namespace oriplayer {

Programme::Entry::Entry(Item item) : url(std::move(item.url)), lengthUs(std::max<int64_t>(0, item.declaredUs)) {}

int64_t Programme::Entry::placedUs() const {
    const bool wrong = measuredUs > lengthUs || measuredUs < lengthUs - kToleranceUs;
    return measuredUs > 0 && wrong ? measuredUs : lengthUs;
}

void Programme::assign(std::vector<Item> items) {
    std::lock_guard lock(mutex_);
    entries_.clear();
    for (Item &item : items) entries_.emplace_back(std::move(item));
}

void Programme::copy(const Programme &other) {
    std::vector<Entry> entries;
    {
        std::lock_guard lock(other.mutex_);
        entries = other.entries_;
    }
    std::lock_guard lock(mutex_);
    entries_ = std::move(entries);
}

void Programme::append(Item item) {
    std::lock_guard lock(mutex_);
    entries_.emplace_back(std::move(item));
}

int Programme::count() const {
    std::lock_guard lock(mutex_);
    return static_cast<int>(entries_.size());
}

std::string Programme::url(int index) const {
    std::lock_guard lock(mutex_);
    return index >= 0 && index < static_cast<int>(entries_.size()) ? entries_[static_cast<std::size_t>(index)].url
                                                                   : std::string();
}

int64_t Programme::lengthOf(int index) const {
    std::lock_guard lock(mutex_);
    return index >= 0 && index < static_cast<int>(entries_.size()) ? entries_[static_cast<std::size_t>(index)].lengthUs
                                                                   : 0;
}

Programme::Place Programme::locate(int64_t positionUs) const {
    std::lock_guard lock(mutex_);
    Place place;
    for (std::size_t i = 0; i + 1 < entries_.size(); ++i) {
        const int64_t next = place.startUs + entries_[i].placedUs();
        if (entries_[i].placedUs() == 0 || next > positionUs) break;
        place = {static_cast<int>(i) + 1, next};
    }
    return place;
}

int64_t Programme::startOf(int index) const {
    std::lock_guard lock(mutex_);
    int64_t start = 0;
    for (int i = 0; i < index && i < static_cast<int>(entries_.size()); ++i) {
        start += entries_[static_cast<std::size_t>(i)].placedUs();
    }
    return start;
}

void Programme::declare(int index, int64_t us) {
    if (lengthOf(index) == 0) setLength(index, us);
}

void Programme::setLength(int index, int64_t us) {
    std::lock_guard lock(mutex_);
    if (us > 0 && index < static_cast<int>(entries_.size())) entries_[static_cast<std::size_t>(index)].lengthUs = us;
}

void Programme::setMeasured(int index, int64_t us) {
    std::lock_guard lock(mutex_);
    if (us > 0 && index < static_cast<int>(entries_.size())) entries_[static_cast<std::size_t>(index)].measuredUs = us;
}

int64_t Programme::totalUs() const {
    std::lock_guard lock(mutex_);
    if (entries_.size() == 1) return entries_[0].lengthUs;
    int64_t total = 0;
    for (const auto &entry : entries_) {
        if (entry.placedUs() == 0) return 0;
        total += entry.placedUs();
    }
    return total;
}

}  // namespace oriplayer
