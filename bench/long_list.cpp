// What a programme of many items costs an application: building it, its memory, the way to its middle and its end.
//   long_list PERIODS PRELOAD_WINDOW FILE...
#include <malloc.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/oriplayer/module.h"
#include "base/oriplayer/period.h"
#include "base/oriplayer/play_component.h"
#include "base/oriplayer/play_list.h"
#include "mixed/mixed_codecs_player.h"

namespace {

constexpr int kPrepared = 1000;
constexpr int kEnd = 1001;
constexpr auto kPatience = std::chrono::seconds(20);

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

std::size_t heapBytes() {
    return mallinfo2().uordblks;
}

/// Counts the events that the run waits for.
class Listener final : public oriplayer::IOriPlayerListener {
public:
    void notify(long long, int what, int, int, const oriplayer::Param &) override {
        if (what != kPrepared && what != kEnd) return;
        std::lock_guard lock(mutex_);
        ++(what == kPrepared ? prepared_ : ends_);
        changed_.notify_all();
    }
    void notify(int, int, int, const std::string &, const std::string &) override {}

    bool awaitPrepared(int count) {
        return await([&] { return prepared_ >= count; });
    }
    bool awaitEnds(int count) {
        return await([&] { return ends_ >= count; });
    }

private:
    template <typename Condition> bool await(Condition condition) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, kPatience, condition);
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    int prepared_ = 0;
    int ends_ = 0;
};

std::shared_ptr<oriplayer::IPlayList> makeList(int count, bool preload, const std::vector<const char *> &files) {
    auto list = oriplayer::IPlayList::create();
    for (int i = 0; i < count; ++i) {
        auto period = oriplayer::IPeriod::create();
        period->setPreloadMask(preload ? 1 : 0);
        period->addSource(oriplayer::ISource::create(files[static_cast<std::size_t>(i) % files.size()], 0.0));
        list->addPeriod(period, -1);
    }
    return list;
}

void fail(const char *what) {
    std::fprintf(stderr, "long_list: %s\n", what);
    std::exit(1);
}

void queries(vexo::MixedCodecsPlayer &player) {
    constexpr int kRounds = 1000;
    int64_t value = 0;
    const auto begin = Clock::now();
    for (int i = 0; i < kRounds; ++i) player.getCurrentPosition(&value, 0);
    const auto between = Clock::now();
    for (int i = 0; i < kRounds; ++i) player.getDuration(&value);
    std::printf("position at %lld ms: %.2f us; duration: %.2f us\n", static_cast<long long>(value),
                std::chrono::duration<double, std::micro>(between - begin).count() / kRounds,
                msSince(between) * 1000 / kRounds);
}

void run(int count, const char *window, const std::vector<const char *> &files) {
    oriplayer::setProperty(oriplayer::kPropertyPreloadWindow, window);
    auto listener = std::make_shared<Listener>();
    auto player = vexo::MixedCodecsPlayer::create();
    player->setListener(listener);

    const std::size_t empty = heapBytes();
    auto begin = Clock::now();
    auto component = std::make_shared<oriplayer::PlayComponent>();
    component->playList = makeList(count, std::atoi(window) > 0, files);
    const double made = msSince(begin);
    const std::size_t listed = heapBytes();
    player->setDataSource({component}, 1, nullptr);
    std::printf("list made: %.1f ms, %.0f bytes a period; cut into bounds: %.1f ms, %.0f bytes a period\n", made,
                static_cast<double>(listed - empty) / count, msSince(begin) - made,
                static_cast<double>(heapBytes() - listed) / count);

    begin = Clock::now();
    player->prepareAsync();
    player->start();
    if (!listener->awaitPrepared(1)) fail("the first item is not prepared");
    std::printf("first item prepared: %.1f ms\n", msSince(begin));
    int64_t duration = 0;
    player->getDuration(&duration);
    const auto seek = [&](const char *where, int64_t positionMs, int nth) {
        begin = Clock::now();
        player->seekTo(static_cast<int>(positionMs), 0);
        if (!listener->awaitPrepared(nth)) fail("a seek does not arrive");
        std::printf("seek to the %s prepared: %.1f ms\n", where, msSince(begin));
    };
    seek("middle", duration / 2 + 1, 2);
    queries(*player);
    seek("end", duration - 100, 3);
    begin = Clock::now();
    if (!listener->awaitEnds(1)) fail("the end does not come");
    std::printf("end of the programme: %.1f ms\n", msSince(begin));
    begin = Clock::now();
    player->stop(true);
    std::printf("stopped and freed: %.1f ms\n", msSince(begin));
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 4 || std::atoi(argv[1]) < 4) {
        std::fprintf(stderr, "usage: long_list PERIODS (4 or more) PRELOAD_WINDOW FILE...\n");
        return 2;
    }
    run(std::atoi(argv[1]), argv[2], {argv + 3, argv + argc});
}
