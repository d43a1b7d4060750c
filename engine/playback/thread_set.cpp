#include "playback/thread_set.h"

#include <pthread.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace oriplayer {

bool ThreadSet::launch(const char *name, Role role, std::shared_ptr<void> owner, std::function<void()> body) {
    const auto slot = static_cast<std::size_t>(role);
    {
        std::lock_guard lock(mutex_);
        ++starting_[slot];
    }
    try {
        std::thread([this, name, role, slot, owner = std::move(owner), body = std::move(body)] {
            pthread_setname_np(pthread_self(), name);
            {
                std::lock_guard lock(mutex_);
                --starting_[slot];
                running_.push_back({std::this_thread::get_id(), role});
            }
            body();
            ended();
        }).detach();
        return true;
    } catch (const std::system_error &) {
        std::lock_guard lock(mutex_);
        --starting_[slot];
        return false;
    }
}

void ThreadSet::ended() {
    std::lock_guard lock(mutex_);
    std::erase_if(running_, [](const Thread &each) { return each.id == std::this_thread::get_id(); });
    condition_.notify_all();
}

bool ThreadSet::othersRun(Role role) const {
    const bool one = std::any_of(running_.begin(), running_.end(), [role](const Thread &each) {
        return each.role == role && each.id != std::this_thread::get_id();
    });
    return one || starting_[static_cast<std::size_t>(role)] > 0;
}

bool ThreadSet::waitForOthers(Role role, SteadyTime deadline) {
    std::unique_lock lock(mutex_);
    return condition_.wait_until(lock, deadline, [this, role] { return !othersRun(role); });
}

}  // namespace oriplayer
