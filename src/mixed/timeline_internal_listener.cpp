#include "mixed/timeline_internal_listener.h"

#include "mixed/mixed_codecs_player.h"
#include "timeline/timeline.h"

namespace vexo {
namespace {

constexpr int kIsolated = 1;

int byteOf(int64_t identity, int shift) {
    return static_cast<int>((identity >> shift) & 0xFF);
}

}  // namespace

TimelineInternalListener::TimelineInternalListener(MixedCodecsPlayer *player, Timeline *main, Timeline *isolated)
    : player_(player), main_timeline_(main), isolated_timeline_(isolated) {}

void TimelineInternalListener::notify(InternalEvent event) {
    if (event.what == kEventPeriodSwitched) {
        if (player_) player_->notifyPeriodSwitched(event.timeline);
    } else if (event.what == kEventEnd && endsIsolatedTimeline(event.id)) {
        handBack();
    }
}

bool TimelineInternalListener::endsIsolatedTimeline(int64_t identity) const {
    if (byteOf(identity, 16) != kIsolated) return false;
    const auto list = player_->playListOf(kIsolated);
    if (!list) return false;
    const int index = byteOf(identity, 8);
    if (index != list->getPeriodCount() - 1) return false;
    const auto period = list->getPeriod(index);
    if (!period) return false;
    // A mixed-codecs period has a bound for each source; only the last one ends it.
    return !period->isMixedCodecs() || byteOf(identity, 0) == period->getSourceCount() - 1;
}

void TimelineInternalListener::handBack() {
    isolated_timeline_->Stop();
    main_timeline_->Start();
    player_->notifyTimelineSwitched(main_timeline_);
}

}  // namespace vexo
