#include <future>

#include "mixed/player_fixture.h"

namespace vexo {
namespace {

using IsolatedEnd = PlayerTest;

TEST_F(IsolatedEnd, LastPeriod_StopsTheIsolatedAndStartsTheMainTimeline) {
    interrupt({period({"x"})});
    ends("p2");
    ASSERT_TRUE(listener->waitFor(10240));
    EXPECT_EQ(logBut("p2.destroy"), "p2.setListener(null) p2.stop p1.start");
    EXPECT_EQ(player->getActiveIndex(), 0);
    EXPECT_EQ(listener->takeEvents(), "1000@000000 1000@010000 1001@010000 10240@000000");
}

TEST_F(IsolatedEnd, EarlierPeriodsAndEarlierSources_GoOnInTheIsolatedTimeline) {
    interrupt({period({"x", "y"}, true), period({"z"})});
    for (const char *name : {"p2", "p3"}) {
        ends(name);
        const std::string next = name == std::string("p2") ? "p3" : "p4";
        ASSERT_TRUE(waitForCall(next + ".prepareAsync"));
        EXPECT_EQ(player->getActiveIndex(), 1);
        prepared(next);
        ASSERT_TRUE(waitForCall(next + ".start"));
    }
    log();
    ends("p4");
    ASSERT_TRUE(listener->waitFor(10240));
    EXPECT_EQ(logBut("p4.destroy"), "p4.setListener(null) p4.stop p1.start");
}

TEST_F(IsolatedEnd, WhatAnEndDoes_FollowsWhatWasDoneToTheList) {
    using Edit = std::function<void(MixedCodecsPlayer &)>;
    const Edit insert = [](auto &p) { p.addPeriod(1, 0, period({"w"}), nullptr); };
    const Edit append = [](auto &p) { p.addPeriod(1, -1, period({"y"}), nullptr); };
    const Edit change = [](auto &p) { p.changePeriod(1, 0, period({"y"}), nullptr); };
    const Edit remove = [](auto &p) { p.delPeriod(1, 0); };
    const Edit clear = [](auto &p) { p.clearPeriods(1); };
    const Edit seek = [](auto &p) { p.seekTo(2000, 0); };
    const Edit stop = [](auto &p) { p.stop(1, true); };
    const Edit next = [](auto &p) { p.goNext(false); };
    const Edit removeWhilePaused = [](auto &p) {
        p.start(0);
        p.delPeriod(1, 0);
        p.start(1);
    };
    struct Case {
        const char *name;
        Edit before;         ///< of the end, or
        Edit inHandler;      ///< of the end
        std::string called;  ///< what the engine hears then
        bool handsBack = true;
        bool endsAgain = false;  ///< control is handed back at the second end
    };
    const std::string start = "p1.start";
    for (const Case &c :
         {Case{"insert before it", insert, {}, start}, Case{"insert at its end", {}, insert, start},
          Case{"remove it while paused", removeWhilePaused, {}, start}, Case{"remove it at its end", {}, remove, start},
          Case{"clear at its end", {}, clear, start}, Case{"seek at its end", {}, seek, "p2.seekTo(2000,0)", false},
          Case{"append at its end", {}, append, "p3.prepareAsync", false},
          Case{"change it at its end", {}, change, "p2.changePeriod(y)", true, true},
          Case{"goNext at its end", {}, next, start}, Case{"stop at its end", {}, stop, "p2.stop", false}}) {
        SCOPED_TRACE(c.name);
        restart();
        interrupt({period({"x"})});
        if (c.before) c.before(*player);
        if (c.inHandler) listener->on(1001, [&] { c.inHandler(*player); });
        log();
        ends("p2");
        ASSERT_TRUE(waitForCall(c.called));
        if (c.endsAgain) {
            ASSERT_TRUE(listener->waitFor(1001));
            listener->on(1001, nullptr);
            ends("p2");
        }
        ASSERT_TRUE(listener->waitFor(c.handsBack ? 10240 : 1001));
        player->stop(1, true);  // both return after the last event of their looper
        player->stop(0, true);
        EXPECT_EQ(log().find(start) != std::string::npos, c.handsBack);
        EXPECT_EQ(listener->count(10240), c.handsBack ? 1 : 0);
    }
}

TEST_F(IsolatedEnd, TimelinesChangedAtAnEnd_NextPeriodWaitsPaused) {
    for (const bool interrupts : {true, false}) {
        restart();
        playMain({"a", "b"});
        takeOver({period({"x"}), period({"y"})});
        if (interrupts) player->start(0);
        log();
        listener->on(1001, [&] { player->start(interrupts ? 1 : 0); });
        ends(interrupts ? "p1" : "p2");
        ASSERT_TRUE(waitForCall("p3.prepareAsync"));
        listener->on(1001, nullptr);
        log();
        EXPECT_EQ(player->getActiveIndex(), interrupts ? 1 : 0);
        prepared("p3");
        player->stop(interrupts ? 0 : 1, true);  // returns after the reaction
        EXPECT_EQ(log().substr(0, 17), "p3.start p3.pause");
        EXPECT_EQ(listener->count(10240), 0);
    }
}

TEST_F(IsolatedEnd, StoppedWhileItIsHandledOrWaits_NoEventFollows) {
    for (const int held : {1001, 1017}) {  // the end, or an event that it waits for
        restart();
        interrupt({period({"x"})});
        std::promise<void> inside;
        listener->on(held, [&] {
            inside.set_value();
            waitForCall("p1.stop");
        });
        engine.post("p2", held);
        inside.get_future().wait();
        if (held != 1001) ends("p2");
        player->stop(true);
        player->stop(0, true);  // returns after every event that was queued
        EXPECT_EQ(listener->count(10240), 0) << held;
    }
}

TEST_F(IsolatedEnd, RemovingTheLastPeriodThatPlays_HandsBackAtOnce) {
    for (const bool clear : {false, true}) {
        restart();
        interrupt({period({"x"})});
        EXPECT_EQ(clear ? player->clearPeriods(1) : player->delPeriod(1, 0), 0);
        EXPECT_EQ(log(), "p2.stop p2.destroy p1.start");
        EXPECT_EQ(player->getActiveIndex(), 0);
        EXPECT_TRUE(listener->waitFor(10240));
    }
}

}  // namespace
}  // namespace vexo
