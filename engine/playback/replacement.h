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

/// Replaces the data source during playback. It opens the new source while the old one plays and hands it to the reader
/// at the picture where playback changes over, the join.
///
///   ori-change: opens the source, seeks to the present position, decodes until it has caught up  -> kMeets
///   ori-read:   chooses the picture of the join and stops reading the old source                 -> kJoining
///   ori-change: decodes up to that picture                                                       -> kReady
///   ori-read:   queues the new source after what the old one still has to show                   -> kGone
///
/// A seek before the join is carried out in the old source, and the new source follows it. If anything fails, 503 is
/// raised and the old source continues. A replacement that is requested after the end is always followed by another
/// 1001: at the end of the new source, or after the failure.
///
/// Threads: run() is the thread "ori-change"; cancel() on any; the other functions are for the reader. Lock: mutex_, a
///          leaf.
class Replacement {
public:
    enum class State { kCatchingUp, kMeets, kJoining, kReady, kGone };
    struct Join {
        int64_t playUs = 0;  ///< time of the new source's first picture
        int64_t baseUs = 0;  ///< play scale minus position there
    };
    struct Result {
        explicit Result(DataSource given) : data(std::move(given)) {}
        DataSource data;
        InputOptions options;
        ThreadLimits threadLimits;
        Programme programme;
        int index = 0;         ///< of the open source
        int64_t offsetUs = 0;  ///< start of the open source on the programme's scale
        int64_t endUs = 0;     ///< end of what was read of the open source, on its own scale
        Join join;
        OpenedSource source;  ///< with the pictures from the join on
    };

    Replacement(Stage &stage, DataSource data);

    void run();
    void cancel();

    /// True if the old source had ended when this replacement was requested.
    bool afterEnd() const { return afterEnd_; }
    State state() const;
    /// The length of the new programme if it is known in advance, or 0.
    int64_t announcedUs() const { return announcedUs_; }
    /// The generation of the seek that it follows.
    uint32_t generation() const { return generation_; }
    void joinAt(Join join);
    /// Makes it catch up again, because the join is no longer valid.
    void goBack();
    /// Hands out the new source. Null unless the state is kReady.
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
    /// Waits until the reader has changed the state `asked`. False if the new state is not `answer`: it has to start
    /// again or to end.
    bool awaitAnswer(State asked, State answer);

    Stage &stage_;
    const bool afterEnd_;
    std::unique_ptr<Result> result_;  ///< used by ori-change only until kReady, then guarded by mutex_
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
