#pragma once

#include <cstdint>

#include "timeline/internal_event.h"

namespace vexo {

class MixedCodecsPlayer;
class Timeline;

/// What a player hears from its two timelines: a bound was entered, which the processors learn, and the end of the
/// isolated timeline's last period, at which the main timeline goes on.
/// Threads:  see InternalEventListener; the entering of a bound comes under the timeline's mutex and waits for nobody.
/// Life:     the player takes it off both timelines and ends their loopers before any of the three goes.
class TimelineInternalListener : public InternalEventListener {
public:
    TimelineInternalListener(MixedCodecsPlayer *player, Timeline *main, Timeline *isolated);
    void notify(InternalEvent event) override;

private:
    void handBack(uint64_t moves);

    MixedCodecsPlayer *const player_;
    Timeline *const main_timeline_;
    Timeline *const isolated_timeline_;
};

}  // namespace vexo
