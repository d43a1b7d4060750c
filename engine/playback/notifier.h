#pragma once

#include <deque>
#include <mutex>

#include "base/oriplayer/param.h"
#include "ffmpeg.h"
#include "playback/callback_gate.h"
#include "playback/settings.h"
#include "playback/signal.h"

namespace oriplayer {

/// Event numbers of a player.
enum PlayerEvent : int {
    kEventSize = 306,
    kEventLog = 309,
    kEventPrepared = 1000,
    kEventEnd = 1001,
    kEventFirstShown = 1017,
    kEventCannotOpen = 501,
    kEventNothingPlayable = 502,
    kEventReadFailed = 503,
    kEventDecodeFailed = 504,
    kEventSoundFailed = 505,
};

/// Tells the listener what happens, in the order of posting, on a thread of its own.
/// Threads:  post() from any; run() is the thread "ori-event"; it ends when silence() was called.
/// Listener: called with no lock held, the one that is set at that moment.
class Notifier {
public:
    Notifier(int playerId, const Settings &settings) : playerId_(playerId), settings_(settings) {}

    void post(PlayerEvent event, Param param = {});
    /// An event with FFmpeg's number and text.
    void post(PlayerEvent event, const MediaError &error);
    void run();
    /// No notify begins any more, what waits is dropped.
    void silence();
    CallbackGate &gate() { return gate_; }

private:
    struct Event {
        PlayerEvent number;
        Param param;
    };
    bool next(Event &event);
    void tell(const Event &event);

    const int playerId_;
    const Settings &settings_;
    CallbackGate gate_;
    Signal wake_;
    std::mutex mutex_;
    std::deque<Event> events_;  ///< guarded by mutex_
    bool silent_ = false;       ///< guarded by mutex_
};

}  // namespace oriplayer
