#include "module/preload_queue.h"

#include <pthread.h>

#include <algorithm>
#include <system_error>
#include <thread>
#include <utility>

#include "ffmpeg_log.h"
#include "module/player_registry.h"
#include "module/properties.h"
#include "module/reaper.h"
#include "playback/data_source.h"

namespace oriplayer {
namespace {

constexpr int64_t kDefaultKib = 8192;
constexpr std::size_t kMostWarm = 8;     // over all players: each holds a decoder's pictures and what was read ahead
constexpr std::size_t kMostOpening = 2;  // at a time

bool launch(std::function<void()> body) {
    try {
        std::thread([body = std::move(body)] {
            pthread_setname_np(pthread_self(), "ori-preload");
            const FfmpegLog quiet(nullptr);
            try {
                body();
            } catch (const std::bad_alloc &) {  // nothing is ahead then; players open by themselves
            }
        }).detach();
        return true;
    } catch (const std::system_error &) {
        return false;
    }
}

void callBack(PreloadCallback callback, void *context, const std::string &url, int result) {
    if (callback) launch([=] { callback(context, result, 0, 0, url.c_str()); });
}

bool mayWork() {
    return !PlayerRegistry::instance().anyStarves();
}

}  // namespace

// Never destroyed: players outlive main() on threads that hang in the system.
PreloadQueue &PreloadQueue::instance() {
    static auto &queue = *new PreloadQueue;
    return queue;
}

void PreloadQueue::add(Task task) {
    const auto window = static_cast<std::size_t>(currentProperties().preloadWindow);
    std::lock_guard lock(mutex_);
    window_ = window;
    const Id id = plan_.next();
    if (task.callback || task.kib != kDefaultKib) details_[id] = {task.kib, task.callback, task.context, task.url};
    if (window == 0) tell(id, -1);
    if (const auto gone = plan_.add(std::move(task.url))) {
        tell(*gone, -1);
        details_.erase(*gone);
    }
    if (window > 0 && (!running_ || entries_.size() < kMostWarm)) wake();
}

std::size_t PreloadQueue::size() const {
    std::lock_guard lock(mutex_);
    return plan_.size();
}

std::size_t PreloadQueue::warm() const {
    std::lock_guard lock(mutex_);
    return entries_.size();
}

void PreloadQueue::setUserAgent(std::string userAgent) {
    std::lock_guard lock(mutex_);
    userAgent_ = std::move(userAgent);
}

// With the lock.
void PreloadQueue::wake() {
    if (!running_) running_ = launch([this] { run(); });
    changedFlag_ = true;
    changed_.notify_one();
}

std::unique_ptr<OpenedSource> PreloadQueue::take(int player, const std::string &url, const InputOptions &options,
                                                 const ThreadLimits &limits, const std::atomic<bool> &cancelled) {
    std::shared_ptr<WarmSource> source;
    Id id = 0;
    {
        const auto living = [](int each) { return PlayerRegistry::instance().find(each) != nullptr; };
        const auto window = static_cast<std::size_t>(currentProperties().preloadWindow);
        std::lock_guard lock(mutex_);
        window_ = window;
        const auto taken = plan_.take(player, url, living);
        if (!taken) return nullptr;
        id = *taken;
        const auto entry = entries_.find(id);
        if (entry != entries_.end()) {
            source = std::move(entry->second.source);
            entries_.erase(entry);
        }
        rested_.clear();
        if (!source) tell(id, -1);  // it came too early: the player opens by itself
        if (window_ > 0 || running_) wake();
    }
    if (!source) return nullptr;
    auto opened = source->take(options, cancelled);
    if (!opened) source->drop();
    if (opened && opened->video) opened->video->restartWith(limits);
    std::lock_guard lock(mutex_);
    tell(id, opened ? 0 : -1);
    return opened;
}

void PreloadQueue::run() {
    for (;;) {
        std::vector<std::shared_ptr<WarmSource>> dropped;
        std::unique_lock lock(mutex_);
        changedFlag_ = false;
        const auto next = decide(dropped);
        lock.unlock();
        for (auto &source : dropped) {
            source->drop();
            Reaper::instance().bury(std::move(source));
        }
        lock.lock();
        if (next == Clock::time_point::max()) {
            changed_.wait(lock, [this] { return changedFlag_; });
        } else {
            changed_.wait_until(lock, next, [this] { return changedFlag_; });
        }
    }
}

// Answers when to look again if nothing happens before.
PreloadQueue::Clock::time_point PreloadQueue::decide(std::vector<std::shared_ptr<WarmSource>> &dropped) {
    const auto wanted = plan_.wanted(window_, kMostWarm);
    cool(wanted, dropped);
    std::size_t opening = 0;
    auto next = Clock::time_point::max();
    for (const auto &[id, entry] : entries_) {
        opening += entry.source->opening() ? 1 : 0;
        next = std::min(next, entry.since + times_.keepWarm);
        if (!entry.source->opening()) tell(id, 0);
    }
    for (const Id id : wanted) {
        if (entries_.count(id) != 0) continue;
        const bool rests = rested_.count(id) != 0;
        if (rests && plan_.playerInFront(id)) next = std::min(next, Clock::now() + times_.lookAgain);
        if ((rests && !endIsNear(id)) || opening >= kMostOpening) continue;
        warmUp(id);
        next = std::min(next, Clock::now() + times_.keepWarm);
        ++opening;
    }
    return next;
}

void PreloadQueue::cool(const std::vector<Id> &wanted, std::vector<std::shared_ptr<WarmSource>> &dropped) {
    const auto now = Clock::now();
    for (auto each = entries_.begin(); each != entries_.end();) {
        auto &[id, entry] = *each;
        const bool opening = entry.source->opening();
        if (opening) entry.since = now;
        const bool needed = std::find(wanted.begin(), wanted.end(), id) != wanted.end();
        const bool failed = entry.source->failed();
        const bool old = now >= entry.since + times_.keepWarm;
        if (needed && !failed && old && endIsNear(id)) entry.since = now;
        if (needed && !failed && (!old || endIsNear(id))) {
            ++each;
            continue;
        }
        if (!opening) tell(id, failed ? -1 : 0);
        if (needed) rested_.insert(id);
        dropped.push_back(entry.source);
        each = entries_.erase(each);
    }
}

void PreloadQueue::warmUp(Id id) {
    const Properties properties = currentProperties();
    const auto details = details_.find(id);
    const int64_t kib = details == details_.end() ? kDefaultKib : details->second.kib;
    auto source =
        std::make_shared<WarmSource>(plan_.url(id), DataSource::optionsOf(properties, userAgent_), kib * 1024);
    const auto stateChanged = [this] {
        std::lock_guard lock(mutex_);
        wake();
    };
    rested_.erase(id);
    if (launch([=] { source->run(mayWork, stateChanged); })) {
        entries_[id] = {source, Clock::now()};
    } else {
        rested_.insert(id);
    }
}

bool PreloadQueue::endIsNear(Id id) const {
    const auto player = plan_.playerInFront(id);
    if (!player) return false;
    const auto remaining = PlayerRegistry::instance().remainingUs(*player);
    return remaining && std::chrono::microseconds(*remaining) <= times_.nearEnd;
}

// With the lock, once a task.
void PreloadQueue::tell(Id id, int result) {
    const auto details = details_.find(id);
    if (details == details_.end()) return;
    callBack(std::exchange(details->second.callback, nullptr), details->second.context, details->second.url, result);
}

int addPreloadTask(const char *url, int64_t kib) {
    if (!url || !*url) return -1;
    PreloadQueue::instance().add({url, std::max<int64_t>(0, kib), nullptr, nullptr});
    return 0;
}

int addPreloadTask(const char *url, const char *, PreloadCallback callback, void *context) {
    if (!url || !*url) {
        callBack(callback, context, "", -1);
        return -1;
    }
    PreloadQueue::instance().add({url, kDefaultKib, callback, context});
    return 0;
}

}  // namespace oriplayer
