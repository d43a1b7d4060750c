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

/// One source that is opened and read ahead until a player takes it.
///
/// Threads:  run() on a thread of its own ("ori-preload"), all else from any. Lock: mutex_, a leaf.
class WarmSource {
public:
    WarmSource(std::string url, InputOptions options, int decoderThreads, int64_t mostBytes);
    ~WarmSource();

    /// Opens, decodes the first pictures, reads ahead. The decoders are made before the thread lowers its priority:
    /// threads of theirs inherit it for good. `mayWork` false: a player needs machine and network for itself.
    void run(const std::function<bool()> &mayWork, const std::function<void()> &stateChanged);

    /// True while it is being opened and its first pictures are decoded.
    bool opening() const;
    bool failed() const;
    /// Hands out the opened source and waits until it is open; `cancelled` ends the wait, and later each read. A packet
    /// that is still being read ahead follows those already read. Null when opening failed, the options differ, the
    /// source was taken before, `cancelled` is set, or the route of `options` changes hosts during the wait.
    std::unique_ptr<OpenedSource> take(const InputOptions &options, int decoderThreads,
                                       const std::atomic<bool> &cancelled);
    /// Ends the work; what is open is closed by whoever lets go last.
    void drop();

private:
    enum class State { kOpening, kReady, kGone };

    bool open(const std::function<bool()> &mayWork);
    bool readAhead(SourceInput::ReadAhead input, bool network, const std::function<bool()> &mayWork);
    bool pauseWhile(const std::function<bool()> &mayWork);
    void giveUp();

    const std::string url_;
    const InputOptions options_;
    const int decoderThreads_;
    const int64_t mostBytes_;
    std::atomic<bool> cancel_{false};
    std::atomic<bool> wanted_{false};
    std::unique_ptr<OpenedSource> source_;  ///< run()'s while kOpening, then guarded by mutex_
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    State state_ = State::kOpening;  ///< guarded by mutex_
    bool failed_ = false;            ///< guarded by mutex_
};

}  // namespace oriplayer
