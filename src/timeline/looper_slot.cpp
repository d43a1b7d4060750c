#include "timeline/looper_slot.h"

#include <iterator>
#include <utility>

namespace vexo {

LooperSlot::LooperSlot(std::string threadName) : thread_name_(std::move(threadName)), looper_(Make()) {}

LooperSlot::~LooperSlot() {
    Close();
}

LooperSlot::Loopers LooperSlot::Make() const {
    return {std::make_shared<MessageLooper>(thread_name_.c_str())};
}

void LooperSlot::Post(ThreadMessage task) {
    MutexLock lock(mutex_);
    if (!looper_.empty()) looper_.front()->SendMessage_(std::move(task), MSG_PRIO_HIGH);
}

LooperSlot::Replacing::Replacing(LooperSlot &slot) noexcept : slot_(slot) {
    MutexLock lock(slot_.mutex_);
    ++slot_.replacing_;
    slot_.Empty();
}

LooperSlot::Replacing::~Replacing() {
    MutexLock lock(slot_.mutex_);
    --slot_.replacing_;
}

void LooperSlot::Empty() {
    if (looper_.empty()) return;
    looper_.front()->Stop();
    aside_.splice(aside_.end(), looper_);
}

void LooperSlot::Settle(Old old) noexcept {
    Loopers ended;
    MutexLock lock(mutex_);
    // Loopers that have ended are released in any case. Otherwise they would accumulate if an application resets only
    // in its callbacks.
    for (auto looper = aside_.begin(); looper != aside_.end();) {
        const auto next = std::next(looper);
        if (old == Old::kJoin || (*looper)->HasEnded()) ended.splice(ended.end(), aside_, looper);
        looper = next;
    }
    ++joining_;
    lock.unlock();
    ended.clear();  // joins
    lock.lock();
    --joining_;
    joined_.notify_all();
    while (old == Old::kJoin && joining_ > 0) joined_.wait(lock);
}

void LooperSlot::Install(Loopers &fresh) noexcept {
    MutexLock lock(mutex_);
    if (looper_.empty() && !closed_) looper_.swap(fresh);
}

void LooperSlot::Ensure() {
    {
        MutexLock lock(mutex_);
        if (!looper_.empty() || replacing_ > 0 || closed_) return;
    }
    Loopers fresh = Make();
    Install(fresh);
}

void LooperSlot::Close() noexcept {
    {
        MutexLock lock(mutex_);
        closed_ = true;
        Empty();
    }
    Settle(Old::kJoin);
}

}  // namespace vexo
