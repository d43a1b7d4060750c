#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "playback/audio_pipe.h"
#include "playback/data_source.h"
#include "playback/presenter.h"
#include "playback/reader.h"
#include "playback/stage.h"
#include "playback/thread_set.h"
#include "playback/video_pipe.h"

namespace oriplayer {

/// Plays one data source: owns the stage, the parts that work on it and their threads. Each thread holds a reference to
/// the session, so the session exists until the last of them has ended.
///
/// Threads: any, also the player's own inside a callback.
class Session : public std::enable_shared_from_this<Session> {
public:
    explicit Session(int playerId) : stage_(playerId) {}

    Stage &stage() { return stage_; }
    const Stage &stage() const { return stage_; }

    /// Sets the data source, once, before prepare().
    bool setDataSource(DataSource source);
    bool addSource(const std::shared_ptr<ISource> &source);
    /// Replaces the data source: during playback as described at Replacement, before prepare() directly.
    bool changePeriod(DataSource source);
    /// Duration of the current source, or of a pending replacement; 0 if unknown.
    int64_t durationUs();
    /// Starts the threads.
    bool prepare();
    bool start();
    void pause();
    bool seek(int64_t positionUs, SeekMode mode);
    void setLooping(bool looping);
    /// Handles a change of network. If a network source is open or being opened, gets the domains to use from the
    /// application, on a separate thread. False if that thread cannot be started.
    bool changeNetwork(int state);
    /// False if the thread that reads the files cannot be started.
    bool chooseSubtitles(std::vector<SubtitleFile> files);
    /// Stops playback. No event, picture or sound is delivered after it returns; if it is called inside a callback,
    /// other callbacks that are already running may still finish. Blocks for at most 90 ms plus those callbacks. Files
    /// and decoders are released later.
    void stop();

private:
    bool launchThreads();
    void leaveWorkers(bool mayWait);
    void cancelReplacement();
    bool launch(const char *name, ThreadSet::Role role, std::function<void()> body);

    Stage stage_;
    std::mutex sourceMutex_;
    std::optional<DataSource> source_;  ///< guarded by sourceMutex_ until prepare(), then read only
    std::unique_ptr<Reader> reader_;    ///< guarded in the same way
    VideoPipe videoPipe_{stage_};
    AudioPipe audioPipe_{stage_};
    Presenter presenter_{stage_};
    ThreadSet threads_;
    std::mutex seekMutex_;  ///< one seek at a time
};

}  // namespace oriplayer
