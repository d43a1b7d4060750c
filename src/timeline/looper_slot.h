#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/thread_annotations.h"
#include "looper/message_looper.h"

namespace vexo {

/// The looper of a timeline, replaceable while others post to it.
/// Threads:  any; Renew(kJoin) and Close on a thread that no looper of the slot waits for.
/// Lock:     a leaf mutex. Posting holds it, so that the slot has the last reference to what it takes out and dropping
///           a looper really waits for its worker; that is done without the mutex.
class LooperSlot {
public:
    enum class Old { kJoin, kKeepAside };

    /// `threadName` as for MessageLooper. Begins with a looper; what its creation throws passes to the caller.
    explicit LooperSlot(std::string threadName);
    ~LooperSlot();
    LooperSlot(const LooperSlot &) = delete;
    LooperSlot &operator=(const LooperSlot &) = delete;

    /// Runs `task` before what waits already; dropped without a looper.
    void Post(ThreadMessage task);

    /// Stops the looper and puts a new one in its place, or none if that cannot be made: then what the creation throws
    /// is thrown at the end. kJoin waits until what was waiting has run, and for all loopers kept aside; kKeepAside
    /// waits for nothing.
    void Renew(Old old);

    /// Makes a looper where Renew could not. Throws as the constructor.
    void Ensure();

    /// Ends all loopers and waits for them; nothing is accepted any more.
    void Close();

private:
    using Loopers = std::vector<std::shared_ptr<MessageLooper>>;

    std::shared_ptr<MessageLooper> Make() const;
    void Replace(std::shared_ptr<MessageLooper> fresh, Old old);

    const std::string thread_name_;
    Mutex mutex_;
    bool closed_ VEXO_GUARDED_BY(mutex_) = false;
    std::shared_ptr<MessageLooper> looper_ VEXO_GUARDED_BY(mutex_);
    Loopers aside_ VEXO_GUARDED_BY(mutex_);  // stopped, not joined
};

}  // namespace vexo
