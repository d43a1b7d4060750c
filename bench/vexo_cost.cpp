// One path of the library, a given number of times, for counting its instructions without a clock; it counts the
// allocations itself. bench/count_instructions.sh runs it.
//   vexo_cost picture|event|switch|position ROUNDS
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <semaphore>
#include <string>

#include "base/oriplayer/period.h"
#include "base/oriplayer/player.h"
#include "interface/vexo_player.h"
#include "mixed/mixed_codecs_player.h"
#include "player/ori_player_listener_impl.h"
#include "render/video_render_pipeline_wrapper.h"
#include "timeline/timeline.h"

namespace {
std::atomic<long> sAllocations{0};
}  // namespace

void *operator new(std::size_t size) {
    sAllocations.fetch_add(1, std::memory_order_relaxed);
    if (void *memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void *memory) noexcept {
    std::free(memory);
}
void operator delete(void *memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

/// Answers at once and does nothing, so that what is counted is the library's own.
class NullPlayer final : public oriplayer::IOriPlayer {
public:
    using Components = std::vector<std::shared_ptr<oriplayer::PlayComponent>>;
    int setDataSource(const Components &, int, const std::shared_ptr<oriplayer::StringMap> &) override { return 0; }
    int changePeriod(int, int, const std::shared_ptr<oriplayer::IPeriod> &,
                     const std::shared_ptr<oriplayer::StringMap> &) override {
        return 0;
    }
    int addSource(int, const std::shared_ptr<oriplayer::ISource> &,
                  const std::shared_ptr<oriplayer::StringMap> &) override {
        return 0;
    }
    int prepareAsync() override { return 0; }
    int start() override { return 0; }
    int pause() override { return 0; }
    int seekTo(int, int) override { return 0; }
    int stop(bool) override { return 0; }
    int getCurrentPosition(int64_t *positionMs, int) override {
        *positionMs = 0;
        return 0;
    }
    int getDuration(int64_t *durationMs) override {
        *durationMs = 1000;
        return 0;
    }
    int getVideoWidth() override { return 0; }
    int getVideoHeight() override { return 0; }
    int setParameter(int, const oriplayer::Param &, int) override { return 0; }
    int getParameter(int, oriplayer::Param *, int) override { return 0; }
    bool isPlaying() override { return true; }
    int setVideoPipeline(std::shared_ptr<oriplayer::VideoRenderPipeline>) override { return 0; }
    int setVideoSurface(void *, bool, int) override { return 0; }
    int setRenderConfig(int, const oriplayer::Param &, int) override { return 0; }
    int setFilter(int, oriplayer::StringMap &, int) override { return 0; }
    bool isLooping() override { return false; }
    int setLooping(bool) override { return 0; }
    int getPlayerId() override { return 1; }
    int setUserAgent(const char *) override { return 0; }
    int setConfigure(std::shared_ptr<protocols::IConfigure>) override { return 0; }
    int setReporter(std::shared_ptr<protocols::IReporter>) override { return 0; }
    int setListener(std::shared_ptr<oriplayer::IOriPlayerListener>) override { return 0; }
};

}  // namespace

// Stands in for the engine's.
std::shared_ptr<oriplayer::IOriPlayer> oriplayer::IOriPlayer::create() {
    return std::make_shared<NullPlayer>();
}

namespace {

constexpr int kEventsAtOnce = 64;

class Application : public VexoPlayerNS::IVexoPlayerCallback {
public:
    void onPlayEvent(int, int, std::string, VexoPlayerNS::VexoParams) override { told_.release(); }
    void onVideoFrame(void **, int, int, int, int, int, int, VexoPlayerNS::VexoParams) override {}
    void awaitEvent() { told_.acquire(); }

private:
    std::counting_semaphore<> told_{0};
};

void pictures(long rounds) {
    Application application;
    auto player = VexoPlayerNS::IVexoPlayer::create(&application, {});
    vexo::VideoRenderPipelineWrapper pipeline;
    uint8_t byte = 0;
    oriplayer::PlaneEntry planes[3] = {{1280, &byte}, {640, &byte}, {640, &byte}};
    oriplayer::VideoPicture picture = {1280, 720, 0, {}, planes};
    oriplayer::RenderRecord record = {{}, &picture};
    sAllocations = 0;
    for (long i = 0; i < rounds; ++i) pipeline.Render(&record);
}

void events(long rounds) {
    Application application;
    vexo::Timeline timeline(0);
    timeline.SetListener(std::make_shared<VexoPlayerNS::IOriPlayerListenerImpl>(&application));
    oriplayer::Param param;
    param.putInt32(-5);
    param.putCString("what happened", true);
    sAllocations = 0;
    for (long i = 0; i < rounds; ++i) {
        timeline.PostMessage_(0, 4711, 0, 0, param);
        if (i % kEventsAtOnce != kEventsAtOnce - 1) continue;
        for (int k = 0; k < kEventsAtOnce; ++k) application.awaitEvent();
    }
}

std::shared_ptr<oriplayer::IPeriod> period() {
    auto made = oriplayer::IPeriod::create();
    made->addSource(oriplayer::ISource::create("clip.mp4", 1.0));
    return made;
}

void switches(long rounds) {
    auto player = vexo::MixedCodecsPlayer::create();
    for (int i = 0; i < 2; ++i) player->addPeriod(0, -1, period(), nullptr);
    player->prepareAsync();
    player->start();
    sAllocations = 0;
    for (long i = 0; i < rounds; ++i) player->seekTo(i % 2 == 0 ? 1500 : 500, 0);
}

void positions(long rounds) {
    auto player = vexo::MixedCodecsPlayer::create();
    for (int i = 0; i < 10; ++i) player->addPeriod(0, -1, period(), nullptr);
    player->prepareAsync();
    player->start();
    player->seekTo(9500, 0);
    int64_t position = 0;
    sAllocations = 0;
    for (long i = 0; i < rounds; ++i) player->getCurrentPosition(&position, 0);
}

}  // namespace

int main(int argc, char **argv) {
    const std::string path = argc == 3 ? argv[1] : "";
    const long rounds = argc == 3 ? std::atol(argv[2]) / kEventsAtOnce * kEventsAtOnce : 0;
    void (*const work)(long) = path == "picture"    ? pictures
                               : path == "event"    ? events
                               : path == "switch"   ? switches
                               : path == "position" ? positions
                                                    : nullptr;
    if (!work || rounds <= 0) {
        std::fprintf(stderr, "usage: vexo_cost picture|event|switch|position ROUNDS (%d or more)\n", kEventsAtOnce);
        return 2;
    }
    work(rounds);
    std::printf("%.1f\n", static_cast<double>(sAllocations) / static_cast<double>(rounds));  // few are start and end
    return 0;
}
