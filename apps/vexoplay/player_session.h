#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "bound_log.h"
#include "interruption.h"
#include "play_event.h"
#include "programme.h"
#include "subtitle_choice.h"

namespace vexo {
class MixedCodecsPlayer;
}

namespace vexoplay {

class HostConfiguration;
class PictureTap;
class PlayerListener;

/// Plays the programme: commands, the settings that every new engine player needs anew, and what happens when an item
/// fails: it is left, the rest plays on.
///
/// Threads:  commands and poll() on the main thread. The library's threads only note events and send settings; they
///           wait for nobody. playerId(), speed(), liesBehindEnd() and the two with pictures are for the picture thread
///           and take no lock that a command holds.
/// Lock:     events_mutex_, a leaf round the events not fetched yet and what is interrupted.
class PlayerSession {
public:
    /// An item that is neither prepared nor failed by then counts as failed; the engine's own bound for opening is 8 s.
    static constexpr int64_t kPatienceUs = 9'500'000;

    struct Config {
        double speed = 1.0;
        std::optional<double> volume;  ///< 0.0 to 1.0
        bool mute = false;
        std::string audioDevice;
        SubtitleChoice subtitles;
        std::string userAgent;
        Programme::Headers headers;
        Programme::Preload preload = Programme::Preload::kOn;
        int64_t startMs = 0;
        std::optional<int64_t> endMs;
        std::vector<InterruptionPoint> interruptions;
        std::vector<std::string> interruptWith;
        std::string alternative;                           ///< of the item that plays, for changeSource()
        std::shared_ptr<HostConfiguration> configuration;  ///< may be empty
        bool reports = false;                              ///< the engine's reports go to the report channel
        std::vector<int> infoKeys;                         ///< texts that each end of an item brings along
        std::function<void()> wake;                        ///< something is to be polled; any thread, does not wait
    };

    PlayerSession(Programme &programme, BoundLog &log, Config config);
    ~PlayerSession();
    PlayerSession(const PlayerSession &) = delete;
    PlayerSession &operator=(const PlayerSession &) = delete;

    /// Hands pictures to `tap` from the next begin() on. Once.
    void attach(std::shared_ptr<PictureTap> tap);
    /// Plays the programme from its start position, also for the second time.
    void begin();
    /// Fetches events in the order of their arrival, after leaving items that have failed.
    std::vector<PlayEvent> poll();
    /// The programme is through, or has reached its end position.
    bool ended();
    /// Nothing of the library calls out any more behind it. Takes a few tenths of a second at most.
    void close();

    void togglePause();
    /// Both answer where the position lies; see Programme::Place.
    Programme::Place seekBy(int64_t milliseconds);
    Programme::Place seekTo(int64_t positionMs);
    /// False if there is no further item.
    bool next();
    Programme::Place previous();
    void setSpeed(double speed);
    void setVolume(double volume);
    void toggleMute();
    void toggleSubtitles();
    /// Lets the files of interruptWith play at the next picture. False if that is not possible now.
    bool interrupt();
    /// Lets the alternative take over where the item is, or if that plays the item's own source again. Answers its URL;
    /// empty if that is not possible now.
    std::string changeSource();
    /// An interruption plays; seeking has to wait for its end.
    bool interrupted() const { return interruption_.active(); }
    /// What the library tells of the playback at hand under `key`.
    std::string info(int key) const;
    const std::vector<int> &infoKeys() const { return config_.infoKeys; }
    /// Milliseconds of what is buffered and not yet presented.
    int bufferedMs() const;
    /// The process has been stopped meanwhile: time that passed counts against nobody.
    void forgive();

    bool paused() const { return paused_; }
    bool muted() const { return muted_; }
    double speed() const { return speed_; }
    double volume() const { return volume_.load() < 0.0 ? 1.0 : volume_.load(); }
    int64_t positionMs() const;
    int64_t durationMs() const;
    /// The item that plays, -1 between two programmes.
    int item();
    /// The id of the current engine player.
    int playerId() const;
    /// Sound or pictures have been presented since the last begin().
    bool presented() const { return presented_; }
    bool liesBehindEnd(int playerId, int64_t positionUs);
    /// Both may hold the picture thread up while an interruption begins, for half a second at most.
    void passPicture() { interruption_.gate().pass(); }
    void pictureShown(int playerId, int64_t positionUs);

private:
    struct Current {
        int playerId = -1;
        int item = -1;
    };
    Current observe();
    void learnLengths(const Current &current);
    void onEvent(PlayEvent event);
    void applySettings();
    void showSubtitles(int item);
    bool subtitlesFailed() const;
    void sendMute();
    void sendSpeed();
    void watch(std::vector<PlayEvent> &events);
    void leave(const PlayEvent &event);
    bool goToNextPeriod();
    std::string replaceBy(int item, const std::string &url);
    void changeBack(const PlayEvent &event);
    void keepPaused();

    void place(PlayEvent &event);
    void beginInterruption();
    void interruptSound();
    void handBack();
    void abandon(const PlayEvent &event);
    bool skipInterruption();

    Programme &programme_;
    BoundLog &log_;
    const Config config_;
    std::shared_ptr<vexo::MixedCodecsPlayer> player_;
    std::shared_ptr<PlayerListener> listener_;
    std::shared_ptr<PictureTap> tap_;
    Interruption interruption_;

    // The main thread's own.
    bool begun_ = false;
    bool finished_ = false;
    std::vector<PlayEvent> postponed_;  ///< items that failed while an interruption played
    int64_t lastSeekMs_ = 0;
    int64_t lastSeekUs_ = 0;
    int64_t forgivenUs_ = 0;
    int changedItem_ = -1;  ///< the one that plays from the alternative

    std::atomic<double> speed_;
    std::atomic<double> volume_;  ///< below 0: never set
    std::atomic<bool> muted_;
    std::atomic<bool> subtitled_{true};
    std::atomic<bool> paused_{false};
    std::atomic<int> pausedAside_{-1};  ///< id of an interruption's engine player that stands paused
    std::atomic<bool> presented_{false};
    std::atomic<bool> endReached_{false};

    mutable std::mutex events_mutex_;
    Current interrupted_;  ///< what waits for the end of the interruption
    std::vector<PlayEvent> events_;
};

}  // namespace vexoplay
