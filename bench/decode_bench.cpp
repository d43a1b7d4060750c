// The real engine on a real clip, as fast as decoding goes: from setMediaSource to the end, pictures counted by the
// application.
#include <benchmark/benchmark.h>

#include <atomic>
#include <semaphore>

#include "base/oriplayer/module.h"
#include "interface/vexo_player.h"

namespace {

class Counter : public VexoPlayerNS::IVexoPlayerCallback {
public:
    void onPlayEvent(int, int code, std::string, VexoPlayerNS::VexoParams) override {
        if (code != 1001 && (code < 501 || code > 504)) return;
        failed = code != 1001;
        end.release();
    }
    void onVideoFrame(void **, int, int, int, int, int, int, VexoPlayerNS::VexoParams) override { ++pictures; }

    std::binary_semaphore end{0};
    std::atomic<bool> failed{false};
    std::atomic<int64_t> pictures{0};
};

void Engine_DecodeRate720p(benchmark::State &state) {
    oriplayer::setProperty(oriplayer::kPropertyUntimed, "1");
    int64_t pictures = 0;
    for (auto _ : state) {
        Counter counter;
        auto player = VexoPlayerNS::IVexoPlayer::create(&counter, {});
        player->setMediaSource(VexoPlayerNS::IVexoMediaSource::create(VEXO_BENCH_CLIP));
        player->prepareAsync();
        player->start();
        counter.end.acquire();
        player.reset();
        if (counter.failed) state.SkipWithError("the clip cannot be played");
        pictures += counter.pictures;
    }
    oriplayer::setProperty(oriplayer::kPropertyUntimed, nullptr);
    if (pictures != 300 * static_cast<int64_t>(state.iterations())) state.SkipWithError("pictures were lost");
    state.SetItemsProcessed(pictures);
}
BENCHMARK(Engine_DecodeRate720p)->UseRealTime()->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);

}  // namespace
