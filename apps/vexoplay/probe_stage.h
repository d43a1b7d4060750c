#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "programme.h"

namespace vexoplay {

/// Asks the items for their lengths and streams, four at once, and writes the answers into the programme. An item gets
/// 5 s at most; items with one URL are asked once.
///
/// Threads:  constructor, destructor and finished() on one thread; the work is done on threads of its own.
/// End:      the destructor cancels what is under way; it is back within about 100 ms.
class ProbeStage {
public:
    static constexpr int kAtOnce = 4;
    static constexpr int kItemMs = 5000;

    struct Config {
        std::string userAgent;
        Programme::Headers headers;
        /// Network items together get no longer than this from the start on; 0: no such bound. What is not known by
        /// then stays unknown, so that a list of dead servers still begins to play.
        int networkBudgetMs = 0;
        bool pipesToo = false;       ///< else they keep what is in them for whoever plays them
        std::function<void()> wake;  ///< called when all is done, on a thread of the stage
    };

    ProbeStage(Programme &programme, Config config);
    ~ProbeStage();
    ProbeStage(const ProbeStage &) = delete;
    ProbeStage &operator=(const ProbeStage &) = delete;

    bool finished() const { return running_ == 0; }

private:
    using Items = std::vector<int>;

    /// The items by their URLs, in the order in which the URLs first come.
    static std::vector<Items> byUrl(const Programme &programme);
    void work();
    ProbeAnswer ask(const std::string &url);
    int patienceMs(const std::string &url) const;

    Programme &programme_;
    const Config config_;
    const std::vector<Items> groups_;
    const int64_t beganUs_;
    std::atomic<std::size_t> next_{0};
    std::atomic<int> running_;
    std::atomic<bool> cancel_{false};
    std::vector<std::thread> workers_;
};

}  // namespace vexoplay
