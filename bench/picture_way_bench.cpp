// The way of a picture from the engine's render record to the application's onVideoFrame.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "interface/vexo_player.h"
#include "render/video_render_pipeline_wrapper.h"

namespace {

class PictureCounter : public VexoPlayerNS::IVexoPlayerCallback {
public:
    void onPlayEvent(int, int, std::string, VexoPlayerNS::VexoParams) override {}
    void onVideoFrame(void **planes, int, int, int, int, int, int, VexoPlayerNS::VexoParams params) override {
        lastLuma = planes[0];
        entries += params.size();
        ++pictures;
    }

    void *lastLuma = nullptr;
    int64_t pictures = 0;
    std::size_t entries = 0;
};

void PictureWay_RecordToApplication(benchmark::State &state) {
    PictureCounter counter;
    auto player = VexoPlayerNS::IVexoPlayer::create(&counter, {});
    vexo::VideoRenderPipelineWrapper pipeline;  // with the player's middleware in it

    uint8_t luma[16] = {};
    uint8_t chroma[16] = {};
    oriplayer::PlaneEntry planes[3] = {{1280, luma}, {640, chroma}, {640, chroma}};
    oriplayer::VideoPicture picture = {1280, 720, 0, {}, planes};
    oriplayer::RenderRecord record = {{}, &picture};
    for (auto _ : state) benchmark::DoNotOptimize(pipeline.Render(&record));

    // The planes are far smaller than the picture claims: a copy on the way would not survive this.
    if (counter.pictures != static_cast<int64_t>(state.iterations()) || counter.lastLuma != luma)
        state.SkipWithError("pictures were lost or copied");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(PictureWay_RecordToApplication);

}  // namespace
