#include "timeline/looper_slot.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vexo {

LooperSlot::LooperSlot(std::string threadName) : thread_name_(std::move(threadName)), looper_(Make()) {}

LooperSlot::~LooperSlot() {
    Close();
}

std::shared_ptr<MessageLooper> LooperSlot::Make() const {
    return std::make_shared<MessageLooper>(thread_name_.c_str());
}

void LooperSlot::Post(ThreadMessage task) {
    MutexLock lock(mutex_);
    if (looper_) looper_->SendMessage_(std::move(task), MSG_PRIO_HIGH);
}

void LooperSlot::Renew(Old old) {
    try {
        Replace(Make(), old);
    } catch (...) {
        Replace(nullptr, old);
        throw;
    }
}

void LooperSlot::Replace(std::shared_ptr<MessageLooper> fresh, Old old) {
    Loopers ended;  // joined when this function ends, without the mutex
    MutexLock lock(mutex_);
    if (closed_) {
        ended.push_back(std::move(fresh));
        return;
    }
    looper_.swap(fresh);
    if (fresh) {
        fresh->Stop();
        aside_.push_back(std::move(fresh));
    }
    // Those that have ended are dropped in any case, so that a client that only ever resets in its callbacks does not
    // pile them up.
    const auto kept = std::partition(aside_.begin(), aside_.end(), [old](const auto &looper) {
        return old == Old::kKeepAside && !looper->HasEnded();
    });
    std::move(kept, aside_.end(), std::back_inserter(ended));
    aside_.erase(kept, aside_.end());
}

void LooperSlot::Ensure() {
    {
        MutexLock lock(mutex_);
        if (looper_ || closed_) return;
    }
    auto fresh = Make();
    MutexLock lock(mutex_);
    if (!looper_ && !closed_) looper_.swap(fresh);
}

void LooperSlot::Close() {
    Loopers ended;
    MutexLock lock(mutex_);
    closed_ = true;
    ended.swap(aside_);
    if (looper_) ended.push_back(std::exchange(looper_, nullptr));
    for (const auto &looper : ended) looper->Stop();
}

}  // namespace vexo
