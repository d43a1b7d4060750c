// two_players FILE|URL FILE|URL: plays both at the same time, each with its own pictures.
#include <atomic>
#include <cstdio>
#include <future>
#include <string>

#include "mixed/mixed_codecs_player.h"
#include "render/render_manager.h"

using namespace oriplayer;

// Receives the pictures of the pipelines that were enabled while it was registered.
class PictureCounter final : public vexo::IRenderMiddleware {
public:
    bool Process(vexo::RenderOutputInfo &) override {
        ++pictures;
        return true;
    }
    vexo::RenderCat GetRenderCat() override { return vexo::kRenderCatVideo; }

    std::atomic<int> pictures{0};
};

class EndListener : public IOriPlayerListener {
public:
    std::future<bool> end() { return end_.get_future(); }

    void notify(long long, int msg, int, int, const Param &) override {
        const bool failed = msg >= 501 && msg <= 504;
        if ((msg == 1001 || failed) && !finished_.exchange(true)) end_.set_value(!failed);
    }
    void notify(int, int, int, const std::string &, const std::string &) override {}

private:
    std::promise<bool> end_;
    std::atomic<bool> finished_{false};
};

struct Seat {
    explicit Seat(const char *url) {
        auto period = IPeriod::create();
        period->addSource(ISource::create(url, 0.0));
        auto component = std::make_shared<PlayComponent>();
        component->playList = IPlayList::create();
        component->playList->addPeriod(period, -1);
        std::vector<std::shared_ptr<PlayComponent>> components{component};

        // The pipeline takes the middlewares that are registered when it is enabled.
        vexo::RenderManager::Instance().AddMiddleware(counter);
        player->setVideoPipelineEnable(true);
        vexo::RenderManager::Instance().RemoveMiddleware(counter);

        auto noHeaders = std::make_shared<StringMap>();
        player->setDataSource(components, 1, noHeaders);
        player->setListener(listener);
        player->prepareAsync();
        player->start();
    }

    std::shared_ptr<PictureCounter> counter = std::make_shared<PictureCounter>();
    std::shared_ptr<EndListener> listener = std::make_shared<EndListener>();
    std::future<bool> end = listener->end();
    std::shared_ptr<vexo::MixedCodecsPlayer> player = vexo::MixedCodecsPlayer::create();
};

int main(int count, char **arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: two_players FILE|URL FILE|URL\n");
        return 1;
    }
    Seat left(arguments[1]);
    Seat right(arguments[2]);
    const bool played = left.end.get() && right.end.get();
    const bool good = played && left.counter->pictures > 0 && right.counter->pictures > 0;
    std::printf("%d and %d pictures\n", left.counter->pictures.load(), right.counter->pictures.load());
    return good ? 0 : 2;
}
