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

/// First argument of 503 where a running replacement has failed: nothing ends, what played before plays on.
constexpr int kArgumentOfReplacement = 2;

/// Kinds of reports.
enum ReportKind : int {
    kReportSummary = 0,     ///< figures of the whole playback, at its end or at its error
    kReportImpairment = 1,  ///< playing stood because nothing was read
    kReportError = 2,
};
using ReportValues = std::map<std::string, std::string>;

/// Tells the listener what happens, in the order of posting, on a thread of its own; the reporter as well.
/// Threads:  post() from any; run() is the thread "ori-event"; it ends when silence() was called.
/// Listener, reporter: called with no lock held, the one that is set at that moment.
class Notifier {
public:
    Notifier(int playerId, const Settings &settings) : playerId_(playerId), settings_(settings) {}

    void post(PlayerEvent event, Param param = {});
    /// An event with FFmpeg's number and text; `argument` is the event's first one.
    void post(PlayerEvent event, const MediaError &error, int argument = 0);
    /// A report to the application's reporter.
    void post(ReportKind kind, ReportValues values);
    /// Removes what waits under that number. True if there was something.
    bool withdraw(PlayerEvent event);
    void run();
    /// No notify begins any more, what waits is dropped.
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
