#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "base/oriplayer/module.h"
#include "module/preload_plan.h"
#include "module/warm_source.h"

namespace oriplayer {

/// The preload tasks of the process, in the order in which they were added. A few of them are kept warm, which means
/// that their source is opened and read ahead until a player takes it. PreloadPlan chooses these.
///
/// Threads:  any. One thread "ori-preload" manages the tasks; each warm source has another thread of that name.
/// Lock:     mutex_; the locks of the players' registry, of the clocks and of a source are taken under it.
/// Callback: on a separate thread, without locks.
class PreloadQueue {
public:
    struct Task {
        std::string url;
        int64_t kib = 0;  ///< limit for reading ahead
        PreloadCallback callback = nullptr;
        void *context = nullptr;
    };

    struct Times {
        std::chrono::milliseconds keepWarm{60'000};  ///< a source that no player takes is closed after this time
        std::chrono::milliseconds nearEnd{30'000};   ///< and opened again when the player before it has this time left
        std::chrono::milliseconds lookAgain{5'000};  ///< how often that is checked
    };

    PreloadQueue() : PreloadQueue(Times()) {}
    explicit PreloadQueue(Times times) : times_(times) {}
    static PreloadQueue &instance();
    /// Queues a task and returns immediately.
    void add(Task task);
    std::size_t size() const;
    /// Hands out the warm source for this URL, or null. From now on the tasks after it are kept warm.
    std::unique_ptr<OpenedSource> take(int player, const std::string &url, const InputOptions &options,
                                       const ThreadLimits &limits, const std::atomic<bool> &cancelled);
    /// Sets the user agent for opening sources.
    void setUserAgent(std::string userAgent);
    /// The number of sources that are warm or being opened.
    std::size_t warm() const;

private:
    using Id = PreloadPlan::Id;
    using Clock = std::chrono::steady_clock;
    struct Entry {
        std::shared_ptr<WarmSource> source;
        Clock::time_point since;  ///< when it was opened
    };
    struct Details {
        int64_t kib = 0;
        PreloadCallback callback = nullptr;
        void *context = nullptr;
        std::string url;
    };

    void wake();
    void run();
    Clock::time_point decide(std::vector<std::shared_ptr<WarmSource>> &dropped);
    void cool(const std::vector<Id> &wanted, std::vector<std::shared_ptr<WarmSource>> &dropped);
    void warmUp(Id id);
    bool endIsNear(Id id) const;
    void tell(Id id, int result);

    const Times times_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    PreloadPlan plan_;               // this and all below guarded by mutex_
    std::map<Id, Details> details_;  ///< of tasks with a callback or a size of their own
    std::map<Id, Entry> entries_;    ///< warm, or being opened
    std::set<Id> rested_;            ///< closed again or failed; not opened until the player before it is near its end
    std::string userAgent_;
    std::size_t window_ = 0;
    bool running_ = false;
    bool changedFlag_ = false;
};

}  // namespace oriplayer
