#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace vexo {

struct ThreadMessage {
    std::function<void()> task;
};

enum MsgPrio : int {
    MSG_PRIO_HIGH = 0,  ///< before everything that waits: what waits together runs newest first
    MSG_PRIO_LOW = 1,   ///< behind everything that waits: oldest first
};

/// One worker thread with a queue of tasks. A task may send to its own looper, and must not drop the last reference to
/// it. An exception that leaves a task ends the process.
/// Threads:  SendMessage_ and Stop on any; the destructor on any but the worker.
/// Lock:     a mutex round the queue, never held while a task runs.
class MessageLooper {
public:
    /// `threadName` has at most 15 characters.
    explicit MessageLooper(const char *threadName = "vexo-loop");
    /// Sends a quit message, waits for the worker. What waits in front of the quit message has run by then.
    ~MessageLooper();
    MessageLooper(const MessageLooper &) = delete;
    MessageLooper &operator=(const MessageLooper &) = delete;

    void SendMessage_(const ThreadMessage &message, MsgPrio priority);
    void SendMessage_(ThreadMessage &&message, MsgPrio priority);
    /// Sends the quit message, behind which nothing runs; does not wait.
    void Stop();
    /// True once the worker is past its last task: the destructor will not wait for one.
    bool HasEnded() const { return ended_->load(); }

private:
    using Queue = std::vector<ThreadMessage>;

    void Start(const char *threadName);
    void HandleMessage(const ThreadMessage &message);
    void Quit();

    static thread_local bool quit_;  // of the looper whose worker the thread is

    std::shared_ptr<std::mutex> mutex_;
    std::shared_ptr<std::condition_variable> condition_;
    std::thread thread_;
    std::shared_ptr<Queue> queue_;  // the end of the vector is the head of the queue
    std::shared_ptr<std::atomic<bool>> ended_;
};

}  // namespace vexo
