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
    subtitles.expectSize(width, height);
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
    notifier.post(kReportError,
                  {{"event", std::to_string(event)}, {"native", std::to_string(error.native)}, {"text", error.text}});
    notifier.post(kReportSummary, summary());
    notifier.post(event, error);
    clock.hold();
    dropOutdated();
}

void Stage::loseSound(const MediaError &error) {
    if (soundLost.exchange(true)) return;
    ++counters.soundsMissing;
    clock.abandonSound();
    notifier.post(kEventSoundFailed, error);
    sound.interrupt();
    wakeAll();
}

bool Stage::starves() const {
    constexpr int64_t kLowUs = 500'000;
    const bool begins = !control.prepared() || (control.wantsToPlay() && shownGeneration == 0);
    if (control.preparing() && !control.over() && !control.ended() && begins) return true;
    if (!control.isPlaying() || untimed || readAll) return false;
    const PacketQueue &queue = counters.hasVideo ? videoPackets : audioPackets;
    return queue.spanUs() < kLowUs;
}

void Stage::tellEnd() {
    notifier.post(kReportSummary, summary());
    notifier.post(kEventEnd);
}

void Stage::reportStall() {
    const int64_t stalls = ++counters.stalls;
    notifier.post(kReportImpairment, {{"stalls", std::to_string(stalls)},
                                      {"positionMs", std::to_string(positionUs() / 1000)},
                                      {"networkBytes", std::to_string(counters.networkBytes)}});
}

ReportValues Stage::summary() const {
    const Counters &c = counters;
    ReportValues values;
    const auto add = [&values](const char *name, int64_t value) { values[name] = std::to_string(value); };
    add("playedMs", c.presentedUs / 1000);
    add("networkBytes", c.networkBytes);
    add("decoderBytes", c.decoderBytes);
    add("picturesDecoded", c.picturesDecoded);
    add("picturesShown", c.picturesShown);
    add("picturesDropped", c.picturesDropped + c.picturesSkipped);
    add("soundsDecoded", c.soundsDecoded);
    add("soundsDropped", c.soundsDropped);
    add("stalls", c.stalls);
    return values;
}

int64_t Stage::positionUs() const {
    // Behind a seek the position is where it goes until something of it is presented.
    if (!control.prepared() || shownGeneration != control.generation()) return control.targetUs();
    const int64_t position = std::max<int64_t>(0, clock.positionUs());
    const int64_t total = programme.totalUs();
    return total > 0 ? std::min(position, total) : position;
}

}  // namespace oriplayer
