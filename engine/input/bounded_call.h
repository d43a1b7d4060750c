#pragma once

#include <atomic>
#include <functional>

namespace oriplayer {

/// Runs `work` on a thread of its own and waits for it at most `timeoutMs`, or until `cancel` (may be null) is true;
/// then `giveUp` is set and the thread is left to end by itself: looking up a host name, or a disk that hangs, can be
/// interrupted by nothing. What `work` touches it must own.
/// True if `work` was done in time. False also if there is no thread to be had.
/// Threads:  any.
bool boundedCall(std::function<void(const std::atomic<bool> &giveUp)> work, int timeoutMs,
                 const std::atomic<bool> *cancel);

}  // namespace oriplayer
