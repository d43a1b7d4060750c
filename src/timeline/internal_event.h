#pragma once

#include <cstdint>

#include "base/oriplayer/param.h"

namespace vexo {

class Timeline;
struct PlayBound;

/// The event numbers that this library raises or reacts to; it forwards all other numbers of the engine.
enum TimelineEvent : int {
    kEventVideoSize = 306,           ///< engine: size known or changed
    kEventEngineLog = 309,           ///< engine: a line of its log, for the log sink only
    kEventPrepared = 1000,           ///< engine
    kEventEnd = 1001,                ///< engine: the end of a bound
    kEventFirstPicture = 1017,       ///< engine
    kEventStartDelay = 1103,         ///< after 1017 of the first period; arg1: ms since a period was added
    kEventTimelineSwitched = 10240,  ///< the player changed timelines
    kEventPeriodSwitched = -10000,   ///< a bound has been given its player; arg1: the player's id
    kEventPeriodReplaced = -10001,   ///< arg1: index of the period
};

/// An event as the owner of the timeline receives it.
struct InternalEvent {
    int64_t id;  ///< identity of the bound (timeline << 16 | period << 8 | source); -1 for an event of the timeline
    int what;
    int arg1;
    int arg2;
    oriplayer::Param param;
    Timeline *timeline;
    PlayBound *bound;    ///< the current bound when this was sent, or null. It may not exist any more: only a bound
                         ///< of Timeline::AccessCurrentBound can be used.
    uint64_t moves = 0;  ///< for Timeline::StopAfterEnd
};

/// Receives the events of a timeline for its owner.
/// Threads:  the timeline's looper, without locks. Only kEventPeriodSwitched is delivered on the thread that enters the
///           bound, under the timeline's mutex, so its receiver must not wait.
class InternalEventListener {
public:
    virtual ~InternalEventListener() = default;
    virtual void notify(InternalEvent event) = 0;
};

}  // namespace vexo
