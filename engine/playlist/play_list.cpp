#include "base/oriplayer/play_list.h"

#include <cstddef>
#include <mutex>
#include <vector>

namespace oriplayer {

namespace {

/// Lock: mutex_ guards the list.
class PlayList final : public IPlayList {
public:
    int addPeriod(const std::shared_ptr<IPeriod> &period, int position) override {
        std::lock_guard<std::mutex> lock(mutex_);
        const int count = static_cast<int>(periods_.size());
        if (!period || position < -1 || position > count) return -1;
        periods_.insert(periods_.begin() + (position < 0 ? count : position), period);
        return 0;
    }

    int replacePeriod(const std::shared_ptr<IPeriod> &period, int index) override {
        std::shared_ptr<IPeriod> old;  // its end, if this was its last holder, comes behind the lock
        std::lock_guard<std::mutex> lock(mutex_);
        if (!period || !holds(index)) return -1;
        old = periods_[static_cast<std::size_t>(index)];
        periods_[static_cast<std::size_t>(index)] = period;
        return 0;
    }

    std::shared_ptr<IPeriod> getPeriod(int index) override {
        std::lock_guard<std::mutex> lock(mutex_);
        return holds(index) ? periods_[static_cast<std::size_t>(index)] : nullptr;
    }

    int removePeriod(int index) override {
        std::shared_ptr<IPeriod> old;
        std::lock_guard<std::mutex> lock(mutex_);
        if (!holds(index)) return -1;
        old = periods_[static_cast<std::size_t>(index)];
        periods_.erase(periods_.begin() + index);
        return 0;
    }

    int getPeriodCount() override {
        std::lock_guard<std::mutex> lock(mutex_);
        return static_cast<int>(periods_.size());
    }

private:
    bool holds(int index) const { return index >= 0 && static_cast<std::size_t>(index) < periods_.size(); }

    std::mutex mutex_;
    std::vector<std::shared_ptr<IPeriod>> periods_;
};

}  // namespace

IPlayList::~IPlayList() = default;

std::shared_ptr<IPlayList> IPlayList::create() {
    return std::make_shared<PlayList>();
}

}  // namespace oriplayer
