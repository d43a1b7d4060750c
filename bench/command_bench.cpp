// What a command costs the thread that gives it, and an event the engine's thread.
#include <benchmark/benchmark.h>

#include "base/oriplayer/param.h"
#include "interface/vexo_player.h"
#include "timeline/timeline.h"

namespace {

void Command_PostedToTheFacade(benchmark::State &state) {
    auto player = VexoPlayerNS::IVexoPlayer::create(nullptr, {});
    for (auto _ : state) player->setDisplay(nullptr);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Command_PostedToTheFacade)->UseRealTime();

void Event_PostedToATimeline(benchmark::State &state) {
    constexpr int kUnknownEvent = 4711;
    vexo::Timeline timeline(0);
    oriplayer::Param param;
    param.putInt32(-5);
    param.putCString("what happened", true);
    int waiting = 0;
    for (auto _ : state) {
        timeline.PostMessage_(0, kUnknownEvent, 0, 0, param);
        if (++waiting < 256) continue;
        state.PauseTiming();  // what waits is told here, so that the queue does not grow with the run
        timeline.Reset();
        waiting = 0;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Event_PostedToATimeline);

}  // namespace
