#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "playback/data_source.h"
#include "playback/run_up.h"
#include "playback/stage.h"

namespace oriplayer {

/// A running replacement: another data source is opened beside the one that plays and handed to the reader at the
/// picture where it joins.
///
///   ori-change: opens, goes to the present position, decodes until it has caught up  -> kMeets
///   ori-read:   says at which picture it joins, and reads no further                 -> kJoining
///   ori-change: decodes up to that picture                                           -> kReady
///   ori-read:   puts it behind what the old source still has to show                 -> kGone
///
/// A seek that comes meanwhile is carried out in the old source; the new one follows it. If anything fails, 503 is
/// raised and the old source plays on. A replacement asked for after the end is always followed by another 1001: of the
/// new source, or, if it failed, of the old one.
///
/// Threads: run() is the thread "ori-change"; cancel() from any; the rest is the reader's. Lock: mutex_, a leaf.
class Replacement {
public:
    enum class State { kCatchingUp, kMeets, kJoining, kReady, kGone };
    struct Join {
        int64_t playUs = 0;  ///< time of the first picture that is the new source's
        int64_t baseUs = 0;  ///< play scale minus position there
    };
    struct Result {
        explicit Result(DataSource given) : data(std::move(given)) {}
        DataSource data;
        InputOptions options;
        int decoderThreads = 0;
        Programme programme;
        int index = 0;         ///< the source that is open
        int64_t offsetUs = 0;  ///< its beginning on the programme's scale
        int64_t endUs = 0;     ///< end of what was read of it, on its own scale
        Join join;
        OpenedSource source;  ///< with the pictures from the join on
    };

    Replacement(Stage &stage, DataSource data);

    void run();
    void cancel();

    /// True if the old source's end was raised before this replacement was asked for.
    bool afterEnd() const { return afterEnd_; }
    State state() const;
    /// The new programme's length as far as it is known beforehand, or 0.
    int64_t announcedUs() const { return announcedUs_; }
    /// The seek behind which it has caught up.
    uint32_t generation() const { return generation_; }
    void joinAt(Join join);
    /// Another place is meant now.
    void goBack();
    /// Null unless it is ready.
    std::unique_ptr<Result> take();

private:
    MediaError work();
    MediaError describe();
    MediaError arrive(int64_t positionUs);
    MediaError open(int index);
    MediaError catchUp();
    std::optional<Join> meet();
    MediaError runUpTo(const Join &join);
    bool offer(const Join &join);
    void begin();
    bool outdated() const;
    int64_t presentUs() const;
    void set(State state);
    /// Waits until the reader has answered; false if it is to begin anew, or to end.
    bool awaitAnswer(State asked, State answer);

    Stage &stage_;
    const bool afterEnd_;
    std::unique_ptr<Result> result_;  ///< the change thread's until kReady, then guarded by mutex_
    std::optional<RunUp> runUp_;
    int64_t announcedUs_ = 0;  ///< set once
    int64_t baseUs_ = 0;
    std::atomic<uint32_t> generation_{0};
    std::atomic<bool> cancel_{false};

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    State state_ = State::kCatchingUp;  ///< guarded by mutex_
    Join join_;                         ///< guarded by mutex_
};

}  // namespace oriplayer
