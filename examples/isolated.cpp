// isolated PROGRAMME INTERRUPTION: plays the first file, interrupts it at its first picture to play the second one, and
// then continues the first one where it stopped.
#include <atomic>
#include <cstdio>
#include <future>
#include <string>

#include "mixed/mixed_codecs_player.h"

using namespace oriplayer;

constexpr int kMain = 0;
constexpr int kIsolated = 1;

std::shared_ptr<IPeriod> periodOf(const char *url) {
    auto period = IPeriod::create();
    period->addSource(ISource::create(url, 0.0));
    return period;
}

// Commands may be called inside an event handler: they take effect immediately.
class Director : public IOriPlayerListener {
public:
    Director(vexo::MixedCodecsPlayer *player, const char *interruption)
        : player_(player), interruption_(interruption) {}
    std::future<bool> end() { return end_.get_future(); }

    void notify(long long id, int msg, int, int, const Param &) override {
        const int timeline = static_cast<int>(id >> 16 & 0xff);
        std::printf("timeline %d: event %d\n", timeline, msg);
        if (msg == 1017 && timeline == kMain && !interrupted_.exchange(true)) interrupt();
        if (msg == 10240) std::printf("back in the programme\n");
        if (msg == 1001 && timeline == kMain) finish(true);
        if (msg >= 501 && msg <= 504) {
            std::printf("timeline %d failed\n", timeline);
            if (timeline == kIsolated) player_->start(kMain);  // otherwise the programme stays paused
            if (timeline == kMain) finish(false);
        }
    }
    void notify(int, int, int, const std::string &, const std::string &) override {}

private:
    void interrupt() {
        auto period = periodOf(interruption_);
        auto noHeaders = std::make_shared<StringMap>();
        player_->addPeriod(kIsolated, -1, period, noHeaders);
        player_->prepareAsync(kIsolated);
        player_->start(kIsolated);  // pauses the programme at its present position
    }
    void finish(bool good) {
        if (!finished_.exchange(true)) end_.set_value(good);
    }

    vexo::MixedCodecsPlayer *const player_;
    const char *const interruption_;
    std::promise<bool> end_;
    std::atomic<bool> interrupted_{false};
    std::atomic<bool> finished_{false};
};

int main(int count, char **arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: isolated PROGRAMME INTERRUPTION\n");
        return 1;
    }
    auto component = std::make_shared<PlayComponent>();
    component->playList = IPlayList::create();
    component->playList->addPeriod(periodOf(arguments[1]), -1);
    std::vector<std::shared_ptr<PlayComponent>> components{component};
    auto noHeaders = std::make_shared<StringMap>();

    auto player = vexo::MixedCodecsPlayer::create();
    auto director = std::make_shared<Director>(player.get(), arguments[2]);
    auto end = director->end();
    player->setDataSource(components, 1, noHeaders);
    player->setListener(director);
    player->prepareAsync();
    player->start();

    const bool good = end.get();
    player->stop(true);
    return good ? 0 : 2;
}
