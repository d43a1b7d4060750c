#pragma once

#include <deque>
#include <map>
#include <mutex>
#include <string>

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

/// First argument of 503 if a running replacement has failed: the source that was playing continues.
constexpr int kArgumentOfReplacement = 2;

/// Kinds of reports.
enum ReportKind : int {
    kReportSummary = 0,     ///< figures of the whole playback, at its end or its error
    kReportImpairment = 1,  ///< playback stopped because nothing was read
    kReportError = 2,
};
using ReportValues = std::map<std::string, std::string>;

/// Delivers events to the listener and reports to the reporter, in the order of posting, on a separate thread.
/// Threads:  run() is the thread "ori-event" and ends after silence(); all else on any.
/// Listener, reporter: called without locks; those are called that are set at that moment.
class Notifier {
public:
    Notifier(int playerId, const Settings &settings) : playerId_(playerId), settings_(settings) {}

    void post(PlayerEvent event, Param param = {});
    /// Posts an event with FFmpeg's error number and text; `argument` is its first argument.
    void post(PlayerEvent event, const MediaError &error, int argument = 0);
    /// Posts a report for the application's reporter.
    void post(ReportKind kind, ReportValues values);
    /// Removes all queued events with that number. True if there was one.
    bool withdraw(PlayerEvent event);
    void run();
    /// From now on no event is delivered; queued events are dropped.
    void silence();
    CallbackGate &gate() { return gate_; }

private:
    struct Event {
        int number = 0;  ///< a PlayerEvent, or a ReportKind if it is a report
        Param param;
        bool isReport = false;
        ReportValues values;
        int argument = 0;
    };
    void put(Event event);
    bool next(Event &event);
    void tell(Event &event);

    const int playerId_;
    const Settings &settings_;
    CallbackGate gate_;
    Signal wake_;
    std::mutex mutex_;
    std::deque<Event> events_;  ///< guarded by mutex_
    bool silent_ = false;       ///< guarded by mutex_
};

}  // namespace oriplayer
