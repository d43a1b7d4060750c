#include "mixed/timeline_internal_listener.h"

#include "mixed/mixed_codecs_player.h"
#include "timeline/timeline.h"

namespace vexo {

TimelineInternalListener::TimelineInternalListener(MixedCodecsPlayer *player, Timeline *main, Timeline *isolated)
    : player_(player), main_timeline_(main), isolated_timeline_(isolated) {}

void TimelineInternalListener::notify(InternalEvent event) {
    if (event.what == kEventPeriodSwitched) {
        if (player_) player_->notifyPeriodSwitched(event.timeline);
    } else if (event.what == kEventEnd && event.timeline == isolated_timeline_) {
        handBack(event.moves);
    }
}

// The timeline itself knows best whether that was the end of its last period: identities and the play list are behind
// the times while the application edits, and what it does in its own handler of this event must stand.
void TimelineInternalListener::handBack(uint64_t moves) {
    if (!isolated_timeline_->StopBehindEnd(moves)) return;
    main_timeline_->Start();
    player_->notifyTimelineSwitched(main_timeline_);
}

}  // namespace vexo
