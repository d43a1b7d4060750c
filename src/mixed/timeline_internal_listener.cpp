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

// The timeline itself decides whether its last period has ended. Identities and the play list cannot tell while the
// application edits, and what the application did in its own handler of this event takes precedence.
void TimelineInternalListener::handBack(uint64_t moves) {
    const uint64_t epoch = main_timeline_->GetEpoch();  // read first: a stop after this line discards what follows
    if (isolated_timeline_->StopAfterEnd(moves)) player_->resumeMain(epoch);
}

}  // namespace vexo
