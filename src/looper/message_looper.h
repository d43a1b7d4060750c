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
    MSG_PRIO_HIGH = 0,  ///< before all messages that wait, so that these run newest first
    MSG_PRIO_LOW = 1,   ///< after all messages that wait, so that these run oldest first
};

/// One worker thread with a queue of tasks. A task may send messages to its own looper, but must not release the last
/// reference to it. An exception that leaves a task ends the process.
/// Threads:  SendMessage_ and Stop on any thread, the destructor on any thread except the worker.
/// Lock:     a mutex guards the queue. It is not held while a task runs.
class MessageLooper {
public:
    /// `threadName` has at most 15 characters. Throws if there is no thread or memory.
    explicit MessageLooper(const char *threadName = "vexo-loop");
    /// Sends a quit message and waits for the worker, which first runs the tasks that are queued before it.
    ~MessageLooper();
    MessageLooper(const MessageLooper &) = delete;
    MessageLooper &operator=(const MessageLooper &) = delete;

    /// Queues a message. Throws if there is no memory; then the message is not queued.
    void SendMessage_(const ThreadMessage &message, MsgPrio priority);
    void SendMessage_(ThreadMessage &&message, MsgPrio priority);
    /// Sends the quit message, after which no task runs. Does not wait and needs no memory.
    void Stop() noexcept;
    /// True once the worker has run its last task, so that the destructor does not wait for a task.
    bool HasEnded() const { return ended_->load(); }

private:
    using Queue = std::vector<ThreadMessage>;

    static void Insert(Queue &queue, ThreadMessage &&message, MsgPrio priority);
    void Start(const char *threadName);
    void HandleMessage(const ThreadMessage &message);
    void Quit();

    static thread_local bool quit_;  // set on the worker by its quit message

    std::shared_ptr<std::mutex> mutex_;
    std::shared_ptr<std::condition_variable> condition_;
    std::thread thread_;
    // The end of the vector is the head of the queue. Its capacity always has room for a quit message.
    std::shared_ptr<Queue> queue_;
    std::shared_ptr<std::atomic<bool>> ended_;
};

}  // namespace vexo
