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

/// The sources that the process was asked to open ahead, in the order in which they came. A few of them are warm:
/// opened and read ahead until a player takes them. See PreloadPlan for which.
///
/// Threads:  any; "ori-preload" decides, and one thread of the same name a source opens and reads it.
/// Lock:     mutex_; those of the players' registry and clocks are taken under it, a source's own as well.
/// Callback: on a thread of its own, with no lock held.
class PreloadQueue {
public:
    struct Task {
        std::string url;
        int64_t kib = 0;  ///< to be read ahead at most
        PreloadCallback callback = nullptr;
        void *context = nullptr;
    };

    struct Times {
        std::chrono::milliseconds keepWarm{60'000};  ///< what nobody takes is closed then
        std::chrono::milliseconds nearEnd{30'000};   ///< of the player in front: opened anew
        std::chrono::milliseconds lookAgain{5'000};  ///< whether it is
    };

    PreloadQueue() : PreloadQueue(Times()) {}
    explicit PreloadQueue(Times times) : times_(times) {}
    static PreloadQueue &instance();
    /// Only queues.
    void add(Task task);
    std::size_t size() const;
    /// What waits for this player, or null; from here on the tasks behind it are warm.
    std::unique_ptr<OpenedSource> take(int player, const std::string &url, const InputOptions &options,
                                       int decoderThreads, const std::atomic<bool> &cancelled);
    /// What warm-ups present themselves as to servers.
    void setUserAgent(std::string userAgent);
    /// Sources that are warm or on the way to it.
    std::size_t warm() const;

private:
    using Id = PreloadPlan::Id;
    using Clock = std::chrono::steady_clock;
    struct Entry {
        std::shared_ptr<WarmSource> source;
        Clock::time_point since;  ///< it is warm
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
    PreloadPlan plan_;               // all guarded by mutex_
    std::map<Id, Details> details_;  ///< of tasks that differ from the usual
    std::map<Id, Entry> entries_;    ///< warm or becoming so
    std::set<Id> rested_;            ///< closed again, or failed: until the player in front is near its end
    std::string userAgent_;
    std::size_t window_ = 0;
    bool running_ = false;
    bool changedFlag_ = false;
};

}  // namespace oriplayer
