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

/// The running of one data source: the stage, the parts on it and their threads, which share the session and outlive
/// whoever lets go of it.
///
/// Threads: any, also the player's own from inside a callback.
class Session : public std::enable_shared_from_this<Session> {
public:
    explicit Session(int playerId) : stage_(playerId) {}

    Stage &stage() { return stage_; }
    const Stage &stage() const { return stage_; }

    /// Once, before prepare().
    bool setDataSource(DataSource source);
    bool addSource(const std::shared_ptr<ISource> &source);
    /// A running replacement of the data source, or before prepare() a plain one.
    bool changePeriod(DataSource source);
    /// Of what plays, or of the replacement that is on its way; 0 while unknown.
    int64_t durationUs();
    /// Starts the threads.
    bool prepare();
    bool start();
    void pause();
    bool seek(int64_t positionUs, SeekMode mode);
    void setLooping(bool looping);
    /// The network is another one: asks the application for the domains to use now, on a thread of its own, if a
    /// download is under way. True if there was nothing to ask or the thread runs.
    bool changeNetwork(int state);
    /// False if the system gives no thread to read them.
    bool chooseSubtitles(std::vector<SubtitleFile> files);
    /// Ends everything. Behind it nothing is told, shown or heard; from inside a callback, nothing but what another
    /// callback of this player is just doing. Waits at most 90 ms and for callbacks under way; what was open and its
    /// decoders go a little later.
    void stop();

private:
    bool launchThreads();
    void leaveWorkers(bool mayWait);
    void cancelReplacement();
    bool launch(const char *name, ThreadSet::Role role, std::function<void()> body);

    Stage stage_;
    std::mutex sourceMutex_;
    std::optional<DataSource> source_;  ///< guarded by sourceMutex_ until prepare(), then read only
    std::unique_ptr<Reader> reader_;    ///< the same
    VideoPipe videoPipe_{stage_};
    AudioPipe audioPipe_{stage_};
    Presenter presenter_{stage_};
    ThreadSet threads_;
    std::mutex seekMutex_;  ///< one seek at a time
};

}  // namespace oriplayer
