#pragma once

#include <cstdint>

#include "timeline/internal_event.h"

namespace vexo {

class MixedCodecsPlayer;
class Timeline;

/// Handles the events of a player's two timelines: when a bound is entered it informs the processors, and at the end of
/// the isolated timeline's last period it resumes the main timeline.
/// Threads:  see InternalEventListener.
/// Life:     the player detaches it from both timelines and ends their loopers before any of the three is destroyed.
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
