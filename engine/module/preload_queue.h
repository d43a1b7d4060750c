#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

namespace oriplayer {

/// The sources that the process was asked to open ahead, in the order in which they came; the newest 20,000 are kept.
/// Threads: any. Lock: mutex_, a leaf.
class PreloadQueue {
public:
    struct Task {
        std::string url;
        int64_t kib = 0;  ///< to be read ahead at most
    };

    static PreloadQueue &instance();
    void add(Task task);
    std::size_t size() const;

private:
    mutable std::mutex mutex_;
    std::deque<Task> tasks_;  ///< guarded by mutex_
};

}  // namespace oriplayer
