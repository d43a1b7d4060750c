#pragma once

#include <condition_variable>
#include <list>
#include <memory>
#include <string>

#include "base/thread_annotations.h"
#include "looper/message_looper.h"

namespace vexo {

/// The looper of a timeline, replaceable while other threads post to it. A reset replaces it in three steps: it makes a
/// Replacing, which empties the slot, then calls Settle and Install. In between, what is posted is dropped.
/// Threads:  any; Settle(kJoin) and Close on a thread that no looper of the slot waits for.
/// Lock:     a leaf mutex. Post holds it, so that the slot has the last reference to a looper that it takes out, and
///           dropping that reference waits for the worker. This happens without the mutex.
class LooperSlot {
public:
    enum class Old { kJoin, kKeepAside };
    /// A list, so that loopers change hands without an allocation.
    using Loopers = std::list<std::shared_ptr<MessageLooper>>;

    /// `threadName` as for MessageLooper. Starts with a looper; passes on what its construction throws.
    explicit LooperSlot(std::string threadName);
    ~LooperSlot();
    LooperSlot(const LooperSlot &) = delete;
    LooperSlot &operator=(const LooperSlot &) = delete;

    /// Runs `task` before all tasks that wait. Drops it if the slot is empty.
    void Post(ThreadMessage task);

    /// Stops the looper and sets it aside. Ensure does not fill the slot while a Replacing exists.
    class Replacing {
    public:
        explicit Replacing(LooperSlot &slot) noexcept;
        ~Replacing();
        Replacing(const Replacing &) = delete;
        Replacing &operator=(const Replacing &) = delete;

    private:
        LooperSlot &slot_;
    };
    /// kJoin waits until every looper that was set aside has run its last task, also for those that another thread is
    /// joining. kKeepAside waits for nothing and drops only loopers that have ended.
    void Settle(Old old) noexcept;
    /// One looper for Install. Throws if the thread cannot be started.
    Loopers Make() const;
    /// Moves `fresh` into an empty slot. After Close, or if the slot is not empty, `fresh` stays with the caller.
    void Install(Loopers &fresh) noexcept;
    /// Fills a slot that a failed Make has left empty. Throws as Make.
    void Ensure();

    /// Ends all loopers and waits for them. The slot stays empty.
    void Close() noexcept;

private:
    void Empty() VEXO_REQUIRES(mutex_);

    const std::string thread_name_;
    Mutex mutex_;
    std::condition_variable_any joined_;
    bool closed_ VEXO_GUARDED_BY(mutex_) = false;
    int replacing_ VEXO_GUARDED_BY(mutex_) = 0;  // living Replacing objects
    int joining_ VEXO_GUARDED_BY(mutex_) = 0;    // threads that are joining loopers
    Loopers looper_ VEXO_GUARDED_BY(mutex_);     // one, or none while the slot is empty
    Loopers aside_ VEXO_GUARDED_BY(mutex_);      // stopped, not joined
};

}  // namespace vexo
