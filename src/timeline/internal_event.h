#pragma once

#include <cstdint>

#include "base/oriplayer/param.h"

namespace vexo {

class Timeline;
struct PlayBound;

/// Event numbers that have a meaning here; every other number of the engine passes through.
enum TimelineEvent : int {
    kEventVideoSize = 306,           ///< engine: size known or changed
    kEventEngineLog = 309,           ///< engine: a line of its log, for the sink alone
    kEventPrepared = 1000,           ///< engine
    kEventEnd = 1001,                ///< engine: the end of a bound
    kEventFirstPicture = 1017,       ///< engine
    kEventStartDelay = 1103,         ///< behind 1017 on the first period; arg1: ms since a period was added
    kEventTimelineSwitched = 10240,  ///< the player changed timelines
    kEventPeriodSwitched = -10000,   ///< a bound has been given its player; arg1: the player's id
    kEventPeriodReplaced = -10001,   ///< arg1: index of the period
};

/// What a timeline tells its owner.
struct InternalEvent {
    int64_t id;  ///< identity of the bound (timeline << 16 | period << 8 | source), or -1 in a notice of the timeline
    int what;
    int arg1;
    int arg2;
    oriplayer::Param param;
    Timeline *timeline;
    PlayBound *bound;    ///< the current bound when this was sent, or null. May be gone by now: only Timeline's
                         ///< AccessCurrentBound gives a bound that can be followed.
    uint64_t moves = 0;  ///< for Timeline::StopAfterEnd
};

/// Threads:  the timeline's looper with no lock held; kEventPeriodSwitched alone comes on whichever thread enters the
///           bound, under the timeline's mutex: its receiver waits for nobody.
class InternalEventListener {
public:
    virtual ~InternalEventListener() = default;
    virtual void notify(InternalEvent event) = 0;
};

}  // namespace vexo
