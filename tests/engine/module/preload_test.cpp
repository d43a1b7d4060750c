#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>

#include "engine/playback/watched_player.h"
#include "module/preload_plan.h"
#include "module/preload_queue.h"
#include "module/warm_source.h"
#include "support/eventually.h"

namespace test {
namespace {

using oriplayer::PreloadPlan;
using oriplayer::PreloadQueue;
using support::clip;
using Ids = std::vector<PreloadPlan::Id>;

bool allLive(int) {
    return true;
}

// Letters are URLs, in the order in which the tasks came; each taking says which task it finds and what is warm then.
TEST(PreloadPlan, TakesTheNearestTaskBehindTheFormerAndWantsWhatFollows) {
    struct Taking {
        int player;
        const char *url;
        PreloadPlan::Id task;
        Ids wanted;
    };
    PreloadPlan plan;
    for (const char *url : {"a", "b", "a", "c", "a", "d", "e"}) plan.add(url);
    EXPECT_EQ(plan.wanted(3, 8), (Ids{0, 1, 2}));
    const auto living = [](int player) { return player >= 3; };
    const Taking takings[] = {{1, "a", 0, {1, 2, 3}},     // the first of its URL
                              {2, "a", 2, {3, 4, 5}},     // then the one behind it; player 1 is gone
                              {3, "d", 5, {6}},           // passed over: 3 and 4
                              {4, "b", 1, {2, 3, 4, 6}},  // a seek back; player 3 lives
                              {4, "e", 6, {6}}};          // the last one: 6 is still in front of player 3
    for (const auto &taking : takings) {
        EXPECT_EQ(plan.take(taking.player, taking.url, living), taking.task) << taking.url;
        EXPECT_EQ(plan.wanted(3, 8), taking.wanted) << taking.url;
    }
    EXPECT_FALSE(plan.take(5, "unknown", allLive));
    for (int i = 0; i < 5; ++i) plan.add("new");
    EXPECT_EQ(plan.wanted(3, 8), (Ids{7, 8, 9, 6}));
    EXPECT_EQ(plan.wanted(3, 2), (Ids{7, 8}));
    EXPECT_EQ(plan.playerInFront(7), 4);
}

TEST(PreloadPlan, KeepsTheNewestTasksAndWhatWasTakenBeforeMayBePushedOut) {
    PreloadPlan plan(3);
    for (const char *url : {"a", "b", "c"}) EXPECT_FALSE(plan.add(url));
    EXPECT_EQ(plan.take(1, "a", allLive), 0u);
    EXPECT_EQ(plan.add("d"), 0u);
    EXPECT_EQ(plan.add("e"), 1u);
    EXPECT_EQ(plan.wanted(3, 8), (Ids{2, 3, 4}));
    EXPECT_FALSE(plan.take(1, "a", allLive));
}

struct Told {
    std::promise<int> result;
    // -2 if nothing comes.
    int outcome() {
        auto told = result.get_future();
        return told.wait_for(std::chrono::seconds(30)) == std::future_status::ready ? told.get() : -2;
    }
    static void callback(void *context, int outcome, int, int, const char *) {
        static_cast<Told *>(context)->result.set_value(outcome);
    }
};

// Behind a taking, or what came before since the last one is warmed first.
int preload(const std::string &url) {
    Told told;
    EXPECT_EQ(oriplayer::addPreloadTask(url.c_str(), "id", &Told::callback, &told), 0);
    return told.outcome();
}

TEST(Preloading, APreloadedSourcePlaysTheSamePicturesFromWhereverItBegins) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    for (const char *name : {"h264_aac.mp4", "numbered.mp4"}) {
        for (const auto &[startMs, seekMs] : {std::pair{0, 0}, {400, 0}, {0, 400}}) {
            ASSERT_EQ(preload(clip(name)), 0) << name;
            WatchedPlayer player({clip(name)}, startMs);
            player->prepareAsync();
            if (seekMs > 0) player->seekTo(seekMs, 0);
            player->start();
            ASSERT_TRUE(player.waitForEvent(1001));
            int number = (startMs + seekMs) / 40;
            for (const int shown : player.numbers()) EXPECT_EQ(shown, number++) << name << ' ' << startMs;
            EXPECT_EQ(number, support::expected(name).pictures);
        }
    }
}

TEST(Preloading, WhatNobodyTakesCools_AndIsWarmAgainWhenThePlayerInFrontIsNearItsEnd) {
    using namespace std::chrono_literals;
    auto &queue = *new PreloadQueue({.keepWarm = 200ms, .nearEnd = 3s, .lookAgain = 20ms});  // its thread stays
    WatchedPlayer player({clip("numbered.mp4")});                                            // 10 s
    player->prepareAsync();
    ASSERT_TRUE(player.waitForEvent(1000));
    Told told;
    queue.add({clip("h264_aac.mp4"), 64, nullptr, nullptr});
    queue.add({clip("numbered.mp4"), 64, &Told::callback, &told});
    queue.take(player->getPlayerId(), clip("h264_aac.mp4"), {}, {}, std::atomic<bool>(false));
    ASSERT_EQ(told.outcome(), 0) << "it was warm";
    ASSERT_TRUE(support::eventually([&] { return queue.warm() == 0; })) << "10 s are left";
    player->seekTo(8000, 0);
    ASSERT_TRUE(support::eventually([&] { return queue.warm() == 1; })) << "2 s are left";
}

TEST(Preloading, StandsBackWhileAPlayerNeedsTheMachine_AndKeepsToItsMemory) {
    oriplayer::WarmSource source(clip("numbered.mp4"), {}, 0);
    std::atomic<bool> allowed{false};
    std::atomic<int> asked{0};
    std::thread thread([&] {
        source.run(
            [&] {
                ++asked;
                return allowed.load();
            },
            [] {});
    });
    EXPECT_TRUE(support::eventually([&] { return asked > 3; }));
    EXPECT_TRUE(source.opening()) << "nothing was done";
    allowed = true;
    thread.join();
    const auto opened = source.take({}, std::atomic<bool>(false));
    ASSERT_TRUE(opened);
    const auto ahead = static_cast<std::ptrdiff_t>(opened->pictures.size());
    EXPECT_EQ(ahead, 3);
    const auto isPicture = [](const auto &each) { return each.second == oriplayer::SourceInput::Stream::kVideo; };
    EXPECT_LE(std::count_if(opened->packets.begin(), opened->packets.end(), isPicture), ahead + 2)
        << "0 bytes are to be read beyond the first pictures";
}

TEST(Preloading, WhatCannotBeOpenedIsToldAndTheWindowOfNoneWarmsNothing) {
    EXPECT_EQ(preload("/no/such/file.mp4"), -1);
    const PropertyGuard off(oriplayer::kPropertyPreloadWindow, "0");
    EXPECT_EQ(preload(clip("numbered.mp4")), -1);
}

}  // namespace
}  // namespace test
