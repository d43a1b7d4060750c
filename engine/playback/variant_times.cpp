#include "playback/variant_times.h"

#include <algorithm>

namespace oriplayer {

void VariantTimes::begin(int variants, int start, bool live) {
    std::lock_guard lock(mutex_);
    report_.variants = variants;
    report_.start = start;
    report_.live = live;
    entries_ = {{INT64_MIN, start}};
}

void VariantTimes::enter(int64_t playUs, int variant) {
    std::lock_guard lock(mutex_);
    if (entries_.empty() || entries_.back().variant == variant) return;
    ++(variant > entries_.back().variant ? report_.switchesUp : report_.switchesDown);
    entries_.push_back({playUs, variant});
}

void VariantTimes::restart() {
    std::lock_guard lock(mutex_);
    if (!entries_.empty()) entries_ = {{INT64_MIN, entries_.back().variant}};
}

void VariantTimes::presented(int64_t playUs, int64_t us) {
    std::lock_guard lock(mutex_);
    if (report_.variants == 0) return;
    report_.playedUs[static_cast<std::size_t>(std::min(variantAt(playUs), kMostVariants - 1))] += us;
    // What is over is asked for no more.
    while (entries_.size() > 1 && entries_[1].fromUs <= playUs) entries_.erase(entries_.begin());
}

int VariantTimes::variantAt(int64_t playUs) const {
    int variant = 0;
    for (const Entry &entry : entries_) {
        if (entry.fromUs <= playUs) variant = entry.variant;
    }
    return variant;
}

VariantTimes::Report VariantTimes::report(int64_t playUs) const {
    std::lock_guard lock(mutex_);
    Report report = report_;
    report.playing = variantAt(playUs);
    return report;
}

}  // namespace oriplayer
