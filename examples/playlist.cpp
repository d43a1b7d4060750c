// playlist FILE|URL...: plays all of them as one programme and prints for each event to which part it belongs.
#include <atomic>
#include <cstdio>
#include <future>
#include <string>

#include "mixed/mixed_codecs_player.h"
#include "render/render_manager.h"

using namespace oriplayer;

// The id of an event contains its timeline (0 main), period of the play list and source of the period, 8 bits each.
class Narrator : public IOriPlayerListener {
public:
    explicit Narrator(int periods) : last_(periods - 1) {}
    std::future<bool> end() { return end_.get_future(); }

    void notify(long long id, int msg, int, int, const Param &param) override {
        const int period = static_cast<int>(id >> 8 & 0xff);
        std::printf("period %d: event %d\n", period, msg);
        if (msg >= 501 && msg <= 504) {
            const int number = param.getInt32(-1);
            const char *text = param.getCString(-1);
            std::printf("period %d failed: %s (%d)\n", period, text ? text : "", number);
            finish(false);
        }
        if (msg == 1001 && period == last_) finish(true);
    }
    void notify(int, int, int, const std::string &, const std::string &) override {}

private:
    void finish(bool good) {
        if (!finished_.exchange(true)) end_.set_value(good);
    }

    const int last_;
    std::promise<bool> end_;
    std::atomic<bool> finished_{false};
};

// Receives the pictures of all players of the process, one call at a time for each player.
class PictureCounter final : public vexo::IRenderMiddleware {
public:
    bool Process(vexo::RenderOutputInfo &) override {
        ++pictures;
        return true;
    }
    vexo::RenderCat GetRenderCat() override { return vexo::kRenderCatVideo; }
    std::atomic<int> pictures{0};
};

int main(int count, char **arguments) {
    if (count < 2) {
        std::fprintf(stderr, "usage: playlist FILE|URL...\n");
        return 1;
    }
    auto list = IPlayList::create();
    for (int i = 1; i < count; ++i) {
        auto period = IPeriod::create();
        period->addSource(ISource::create(arguments[i], 0.0));  // the length of a local file is read from the file
        list->addPeriod(period, -1);
    }
    auto component = std::make_shared<PlayComponent>();
    component->playList = list;
    std::vector<std::shared_ptr<PlayComponent>> components{component};
    auto noHeaders = std::make_shared<StringMap>();

    auto counter = std::make_shared<PictureCounter>();
    vexo::RenderManager::Instance().AddMiddleware(counter);  // before the pipeline is made
    auto narrator = std::make_shared<Narrator>(count - 1);
    auto end = narrator->end();

    auto player = vexo::MixedCodecsPlayer::create();
    player->setVideoPipelineEnable(true);
    player->setDataSource(components, 1, noHeaders);
    player->setListener(narrator);
    int64_t durationMs = 0;
    player->getDuration(&durationMs);
    std::printf("%d periods, %lld ms\n", count - 1, static_cast<long long>(durationMs));
    player->prepareAsync();
    player->start();

    const bool good = end.get();
    player->stop(true);
    player.reset();
    vexo::RenderManager::Instance().RemoveMiddleware(counter);
    std::printf("%d pictures\n", counter->pictures.load());
    return good ? 0 : 2;
}
