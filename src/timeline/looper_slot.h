#pragma once

#include <condition_variable>
#include <list>
#include <memory>
#include <string>

#include "base/thread_annotations.h"
#include "looper/message_looper.h"

namespace vexo {

/// Holds the looper of a timeline and can replace it while other threads post to it. Replacing takes three steps: a
/// Replacing object empties the slot, Settle waits for the old looper, Install puts in a new one. Tasks posted in
/// between are dropped.
///
/// Threads:  any. Settle(kJoin) and Close must not run on a thread that a task of these loopers waits for.
/// Lock:     a leaf mutex. Post sends under it and no other function copies the reference, so the slot holds the only
///           reference to a looper. It releases that reference without the mutex, because this joins the worker.
class LooperSlot {
public:
    enum class Old { kJoin, kKeepAside };
    /// A list, because moving its elements to another list needs no memory.
    using Loopers = std::list<std::shared_ptr<MessageLooper>>;

    /// Makes the first looper; `threadName` as for MessageLooper. Throws as Make.
    explicit LooperSlot(std::string threadName);
    ~LooperSlot();
    LooperSlot(const LooperSlot &) = delete;
    LooperSlot &operator=(const LooperSlot &) = delete;

    /// Queues `task` before all tasks that wait. Drops it if the slot is empty.
    void Post(ThreadMessage task);

    /// Stops the looper and sets it aside, which empties the slot. Ensure does not fill it while a Replacing exists.
    class Replacing {
    public:
        explicit Replacing(LooperSlot &slot) noexcept;
        ~Replacing();
        Replacing(const Replacing &) = delete;
        Replacing &operator=(const Replacing &) = delete;

    private:
        LooperSlot &slot_;
    };
    /// Releases the loopers that were set aside. kJoin waits until each has run its last task, also for those that
    /// another thread is releasing. kKeepAside does not wait: it releases only loopers that have ended.
    void Settle(Old old) noexcept;
    /// Makes one looper, for Install. Throws if there is no thread or memory.
    Loopers Make() const;
    /// Moves `fresh` into the slot. If the slot is not empty or is closed, `fresh` is unchanged.
    void Install(Loopers &fresh) noexcept;
    /// Makes a looper if a failed Make has left the slot empty. Throws as Make.
    void Ensure();

    /// Stops all loopers and waits for them. The slot stays empty permanently.
    void Close() noexcept;

private:
    void Empty() VEXO_REQUIRES(mutex_);

    const std::string thread_name_;
    Mutex mutex_;
    std::condition_variable_any joined_;
    bool closed_ VEXO_GUARDED_BY(mutex_) = false;
    int replacing_ VEXO_GUARDED_BY(mutex_) = 0;  // existing Replacing objects
    int joining_ VEXO_GUARDED_BY(mutex_) = 0;    // threads that are releasing loopers
    Loopers looper_ VEXO_GUARDED_BY(mutex_);     // one, or none while the slot is empty
    Loopers aside_ VEXO_GUARDED_BY(mutex_);      // stopped, not yet released
};

}  // namespace vexo
