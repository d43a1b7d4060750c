#include "playback/thread_set.h"

#include <pthread.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace oriplayer {

bool ThreadSet::launch(const char *name, std::shared_ptr<void> owner, std::function<void()> body) {
    {
        std::lock_guard lock(mutex_);
        ++starting_;
    }
    try {
        std::thread([this, name, owner = std::move(owner), body = std::move(body)] {
            pthread_setname_np(pthread_self(), name);
            {
                std::lock_guard lock(mutex_);
                --starting_;
                running_.push_back(std::this_thread::get_id());
            }
            body();
            ended();
        }).detach();
        return true;
    } catch (const std::system_error &) {
        std::lock_guard lock(mutex_);
        --starting_;
        return false;
    }
}

void ThreadSet::ended() {
    std::lock_guard lock(mutex_);
    std::erase(running_, std::this_thread::get_id());
    condition_.notify_all();
}

bool ThreadSet::othersRun() const {
    const auto self = std::count(running_.begin(), running_.end(), std::this_thread::get_id());
    return starting_ > 0 || static_cast<std::ptrdiff_t>(running_.size()) > self;
}

bool ThreadSet::waitForOthers(SteadyTime deadline) {
    std::unique_lock lock(mutex_);
    return condition_.wait_until(lock, deadline, [this] { return !othersRun(); });
}

}  // namespace oriplayer
