#include "module/preload_queue.h"

#include <pthread.h>

#include <algorithm>
#include <system_error>
#include <thread>
#include <utility>

#include "base/oriplayer/module.h"

namespace oriplayer {
namespace {

constexpr std::size_t kMostTasks = 20'000;
constexpr int64_t kDefaultKib = 8192;

bool add(const char *url, int64_t kib) {
    if (!url || !*url) return false;
    PreloadQueue::instance().add({url, std::max<int64_t>(0, kib)});
    return true;
}

}  // namespace

// Never destroyed: players outlive main() on threads that hang in the system.
PreloadQueue &PreloadQueue::instance() {
    static auto &queue = *new PreloadQueue;
    return queue;
}

void PreloadQueue::add(Task task) {
    std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    if (tasks_.size() > kMostTasks) tasks_.pop_front();
}

std::size_t PreloadQueue::size() const {
    std::lock_guard lock(mutex_);
    return tasks_.size();
}

int addPreloadTask(const char *url, int64_t kib) {
    return add(url, kib) ? 0 : -1;
}

int addPreloadTask(const char *url, const char *, PreloadCallback callback, void *context) {
    const bool added = add(url, kDefaultKib);
    if (!callback) return added ? 0 : -1;
    try {
        std::thread([callback, context, added, text = std::string(url ? url : "")] {
            pthread_setname_np(pthread_self(), "ori-preload");
            callback(context, added ? 0 : -1, 0, 0, text.c_str());
        }).detach();
    } catch (const std::system_error &) {
        return -1;
    }
    return added ? 0 : -1;
}

}  // namespace oriplayer
