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
    MSG_PRIO_LOW = 1,   ///< after everything that waits: oldest first
};

/// One worker thread with a queue of tasks. A task may send to its own looper, and must not drop the last reference to
/// it. An exception that leaves a task ends the process.
/// Threads:  SendMessage_ and Stop on any; the destructor on any but the worker.
/// Lock:     a mutex round the queue, never held while a task runs.
class MessageLooper {
public:
    /// `threadName` has at most 15 characters. Throws if there is no thread or memory.
    explicit MessageLooper(const char *threadName = "vexo-loop");
    /// Sends a quit message and waits for the worker, which first runs what waits before the quit message.
    ~MessageLooper();
    MessageLooper(const MessageLooper &) = delete;
    MessageLooper &operator=(const MessageLooper &) = delete;

    /// If this throws for want of memory, nothing was sent.
    void SendMessage_(const ThreadMessage &message, MsgPrio priority);
    void SendMessage_(ThreadMessage &&message, MsgPrio priority);
    /// Sends the quit message, after which nothing runs. Does not wait, and needs no memory.
    void Stop() noexcept;
    /// True once the worker has run its last task: the destructor will not wait for one.
    bool HasEnded() const { return ended_->load(); }

private:
    using Queue = std::vector<ThreadMessage>;

    static void Insert(Queue &queue, ThreadMessage &&message, MsgPrio priority);
    void Start(const char *threadName);
    void HandleMessage(const ThreadMessage &message);
    void Quit();

    static thread_local bool quit_;  // of the looper whose worker the thread is

    std::shared_ptr<std::mutex> mutex_;
    std::shared_ptr<std::condition_variable> condition_;
    std::thread thread_;
    // The end of the vector is the head of the queue. Its capacity always has room for a quit message.
    std::shared_ptr<Queue> queue_;
    std::shared_ptr<std::atomic<bool>> ended_;
};

}  // namespace vexo
