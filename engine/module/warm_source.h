#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "playback/opened_source.h"

namespace oriplayer {

/// A source that is opened and read ahead until a player takes it.
///
/// Threads:  run() on a separate thread ("ori-preload"), all else on any. Lock: mutex_, a leaf.
class WarmSource {
public:
    WarmSource(std::string url, InputOptions options, int64_t mostBytes);
    ~WarmSource();

    /// Opens the source, decodes its first pictures and reads ahead. Pauses while `mayWork` returns false, because a
    /// player then needs the machine and the network.
    void run(const std::function<bool()> &mayWork, const std::function<void()> &stateChanged);

    /// True while the source is being opened and its first pictures are being decoded.
    bool opening() const;
    bool failed() const;
    /// Waits until the source is open and hands it out; its video decoder has one thread. `cancelled` interrupts the
    /// wait, and later the reads of the new owner. Returns null if opening has failed, the options differ, the source
    /// was taken before, `cancelled` is set, or the route of `options` changes hosts during the wait. A packet that
    /// run() is still reading is delivered after those already read.
    std::unique_ptr<OpenedSource> take(const InputOptions &options, const std::atomic<bool> &cancelled);
    /// Stops run(). The source is closed when the last reference is released.
    void drop();

private:
    enum class State { kOpening, kReady, kGone };

    bool open(const std::function<bool()> &mayWork);
    bool readAhead(SourceInput::ReadAhead input, bool network, const std::function<bool()> &mayWork);
    bool pauseWhile(const std::function<bool()> &mayWork);
    void giveUp();

    const std::string url_;
    const InputOptions options_;
    const int64_t mostBytes_;
    std::atomic<bool> cancel_{false};
    std::atomic<bool> wanted_{false};
    std::unique_ptr<OpenedSource> source_;  ///< used by run() only while kOpening, then guarded by mutex_
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    State state_ = State::kOpening;  ///< guarded by mutex_
    bool failed_ = false;            ///< guarded by mutex_
};

}  // namespace oriplayer
