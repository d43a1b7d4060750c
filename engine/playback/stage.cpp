#include "playback/stage.h"

#include <algorithm>
#include <utility>

namespace oriplayer {

void Stage::wakeAll() {
    for (Signal *signal : {&readWake, &videoWake, &audioWake, &showWake}) signal->notify();
}

void Stage::dropOutdated() {
    sound.interrupt();
    pictures.clear();
    wakeAll();
}

void Stage::tellSize(int width, int height) {
    if (counters.width == width && counters.height == height) return;
    counters.width = width;
    counters.height = height;
    Param param;
    param.putInt32(width);
    param.putInt32(height);
    notifier.post(kEventSize, std::move(param));
}

void Stage::tellLog(const std::string &line) {
    Param param;
    param.putCString(line.c_str(), true);
    notifier.post(kEventLog, std::move(param));
}

void Stage::tellPrepared() {
    if (!control.reachPrepared()) return;
    notifier.post(kEventPrepared);
    showWake.notify();
}

void Stage::fail(PlayerEvent event, const MediaError &error) {
    if (!control.fail()) return;
    notifier.post(event, error);
    clock.hold();
    dropOutdated();
}

void Stage::loseSound(const MediaError &error) {
    if (soundLost.exchange(true)) return;
    clock.abandonSound();
    notifier.post(kEventSoundFailed, error);
    sound.interrupt();
    wakeAll();
}

int64_t Stage::positionUs() const {
    // Behind a seek the position is where it goes until something of it is presented.
    if (!control.prepared() || shownGeneration != control.generation()) return control.targetUs();
    const int64_t position = std::max<int64_t>(0, clock.positionUs());
    const int64_t total = programme.totalUs();
    return total > 0 ? std::min(position, total) : position;
}

}  // namespace oriplayer
