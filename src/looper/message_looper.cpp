#include "looper/message_looper.h"

#include <pthread.h>

#include <utility>

#include "base/log.h"

namespace vexo {

thread_local bool MessageLooper::quit_ = false;

MessageLooper::MessageLooper(const char *threadName)
    : mutex_(std::make_shared<std::mutex>()),
      condition_(std::make_shared<std::condition_variable>()),
      queue_(std::make_shared<Queue>()),
      ended_(std::make_shared<std::atomic<bool>>(false)) {
    queue_->reserve(1);
    Start(threadName);
}

MessageLooper::~MessageLooper() {
    VEXO_PRINT(LOG_INFO, "MessageLooper::destruct:%p", static_cast<void *>(this));
    Stop();
    if (thread_.joinable()) {
        VEXO_PRINT(LOG_INFO, "MessageLooper::join:%p", static_cast<void *>(this));
        thread_.join();
    }
}

void MessageLooper::Start(const char *threadName) {
    // The worker uses its own copies of the pointers; of the object it uses only the address.
    const auto work = [this](std::shared_ptr<std::mutex> mutex, std::shared_ptr<Queue> queue,
                             std::shared_ptr<std::condition_variable> condition,
                             std::shared_ptr<std::atomic<bool>> ended) {
        quit_ = false;
        while (true) {
            ThreadMessage message;
            {
                std::unique_lock<std::mutex> lock(*mutex);
                while (!quit_ && queue->empty()) {
                    VEXO_PRINT(LOG_DEBUG, "message empty");
                    condition->wait(lock);
                }
                if (quit_) break;
                message = std::move(queue->back());
                queue->pop_back();
            }
            HandleMessage(message);
        }
        Queue unrun;
        {
            const std::lock_guard<std::mutex> lock(*mutex);
            unrun.swap(*queue);
        }
        *ended = true;
    };
    thread_ = std::thread(work, mutex_, queue_, condition_, ended_);
    pthread_setname_np(thread_.native_handle(), threadName);
}

void MessageLooper::SendMessage_(const ThreadMessage &message, MsgPrio priority) {
    SendMessage_(ThreadMessage(message), priority);
}

void MessageLooper::SendMessage_(ThreadMessage &&message, MsgPrio priority) {
    if (quit_) return;
    const auto mutex = mutex_;
    const auto queue = queue_;
    const auto condition = condition_;
    if (!mutex || !queue || !condition) return;
    const std::lock_guard<std::mutex> lock(*mutex);
    const std::size_t needed = queue->size() + 2;  // this message and a quit message
    if (queue->capacity() < needed) queue->reserve(2 * needed);
    Insert(*queue, std::move(message), priority);
    condition->notify_one();
    VEXO_PRINT(LOG_DEBUG, "message_queue:%d", static_cast<int>(queue->size()));
}

void MessageLooper::Insert(Queue &queue, ThreadMessage &&message, MsgPrio priority) {
    if (priority == MSG_PRIO_HIGH) {
        queue.push_back(std::move(message));
    } else if (priority == MSG_PRIO_LOW) {
        queue.insert(queue.begin(), std::move(message));
    }
}

void MessageLooper::HandleMessage(const ThreadMessage &message) {
    VEXO_PRINT(LOG_DEBUG, "handle message:%p, task:%p", static_cast<const void *>(&message),
               static_cast<const void *>(&message.task));
    if (message.task) message.task();
}

void MessageLooper::Stop() noexcept {
    if (quit_) return;
    ThreadMessage message;
    message.task = [this] { Quit(); };  // small enough for std::function to store it without an allocation
    const std::lock_guard<std::mutex> lock(*mutex_);
    // SendMessage_ keeps room for one quit message. If there is none, one is queued already or the worker has ended.
    if (queue_->size() < queue_->capacity()) Insert(*queue_, std::move(message), MSG_PRIO_LOW);
    condition_->notify_one();
    VEXO_PRINT(LOG_DEBUG, "message_queue:%d", static_cast<int>(queue_->size()));
}

void MessageLooper::Quit() {
    quit_ = true;
}

}  // namespace vexo
