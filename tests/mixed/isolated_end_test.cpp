#include "codec/codec_net_process.h"
#include "mixed/player_fixture.h"

namespace vexo {
namespace {

class IsolatedEnd : public PlayerTest {
protected:
    /// Ends both timelines, the isolated one first, behind what their loopers still had to tell.
    void finish() {
        player->stop(1, true);
        player->stop(0, true);
    }
};

TEST_F(IsolatedEnd, LastPeriod_StopsTheIsolatedAndStartsTheMainTimeline) {
    playMain({"a"});
    takeOver({period({"x"})});
    ends("p2");
    ASSERT_TRUE(listener->waitFor(10240));
    EXPECT_EQ(logBut("p2.destroy"), "p2.setListener(null) p2.stop p1.start");
    EXPECT_EQ(player->getActiveIndex(), 0);
    EXPECT_EQ(listener->takeEvents(), "1000@000000 1000@010000 1001@010000 10240@000000");
}

TEST_F(IsolatedEnd, EarlierPeriod_GoesOnInTheIsolatedTimeline) {
    playMain({"a"});
    takeOver({period({"x"}), period({"y"})});
    ends("p2");
    ASSERT_TRUE(waitForCall("p3.prepareAsync"));
    EXPECT_EQ(player->getActiveIndex(), 1);
    prepared("p3");
    ASSERT_TRUE(waitForCall("p3.start"));
    log();
    ends("p3");
    ASSERT_TRUE(listener->waitFor(10240));
    EXPECT_EQ(logBut("p3.destroy"), "p3.setListener(null) p3.stop p1.start");
}

TEST_F(IsolatedEnd, MixedCodecsPeriod_EndsWithItsLastSource) {
    playMain({"a"});
    takeOver({period({"x", "y", "z"}, true)});
    for (const auto &[name, next] : {std::pair{"p2", "p3"}, std::pair{"p3", "p4"}}) {
        ends(name);
        ASSERT_TRUE(waitForCall(std::string(next) + ".prepareAsync"));
        EXPECT_EQ(player->getActiveIndex(), 1) << name;
    }
    ends("p4");
    EXPECT_TRUE(listener->waitFor(10240));
    EXPECT_EQ(player->getActiveIndex(), 0);
}

TEST_F(IsolatedEnd, BehindAStoppedIsolatedTimeline_OnlyTheNewPeriodsCount) {
    playMain({"a"});
    for (const char *url : {"u", "v", "w"}) player->addPeriod(1, -1, period({url}), nullptr);
    player->stop(1, true);
    takeOver({period({"x"})});
    ends("p2");
    EXPECT_TRUE(listener->waitFor(10240));
    EXPECT_EQ(player->getActiveIndex(), 0);
}

TEST_F(IsolatedEnd, EndOfTheMainTimeline_GivesNothingBack) {
    playMain({"a"});
    ends("p1");
    ASSERT_TRUE(waitForCall("p1.destroy"));
    EXPECT_EQ(listener->count(10240), 0);
}

TEST_F(IsolatedEnd, AHandlerThatTakesTheListAway_IsNotFollowedByTheOldEnd) {
    playMain({"a"});
    takeOver({period({"x"})});
    listener->on(1001, [this] { player->stop(1, true); });
    ends("p2");
    ASSERT_TRUE(listener->waitFor(1001));
    player->stop(1, true);  // joins what the handler left
    EXPECT_EQ(log().find("p1.start"), std::string::npos);
    EXPECT_EQ(listener->count(10240), 0);
}

TEST_F(IsolatedEnd, AHandlerOfTheLastEndThatGoesOnPlaying_IsNotUndone) {
    struct Case {
        const char *name;
        std::function<void(MixedCodecsPlayer &)> reaction;
        const char *expected;  ///< the engine's calls; the end then hands nothing back
    };
    for (const Case &c : {
             Case{"seek", [](auto &p) { p.seekTo(2000, 0); }, "p2.seekTo(2000,0)"},
             Case{"append", [](auto &p) { p.addPeriod(1, -1, period({"y"}), nullptr); }, "p3.prepareAsync"},
             Case{"change", [](auto &p) { p.changePeriod(1, 0, period({"y"}), nullptr); }, "p2.changePeriod(y)"},
         }) {
        SCOPED_TRACE(c.name);
        TearDown();
        listener = std::make_shared<fake::RecordingListener>();
        SetUp();
        playMain({"a"});
        takeOver({period({"x"})});
        listener->on(1001, [&] { c.reaction(*player); });
        ends("p2");
        ASSERT_TRUE(waitForCall(c.expected));
        ASSERT_TRUE(listener->waitFor(1001));
        finish();
        EXPECT_EQ(log().find("p1.start"), std::string::npos);
        EXPECT_EQ(listener->count(10240), 0);
    }
}

TEST_F(IsolatedEnd, AnEditedList_StillHandsBackAtItsEnd) {
    struct Case {
        const char *name;
        bool inHandler;  ///< edited inside the handler of the end, else before it
        std::function<void(MixedCodecsPlayer &)> edit;
    };
    const auto insertFirst = [](auto &p) { p.addPeriod(1, 0, period({"w"}), nullptr); };
    const auto removeFirst = [](auto &p) { p.delPeriod(1, 0); };
    const auto removeWhilePaused = [](auto &p) {
        p.start(0);
        p.delPeriod(1, 0);
        p.start(1);
    };
    for (const Case &c : {Case{"insert before it", false, insertFirst}, Case{"insert at its end", true, insertFirst},
                          Case{"remove it at its end", true, removeFirst},
                          Case{"clear at its end", true, [](auto &p) { p.clearPeriods(1); }},
                          Case{"remove it while paused", false, removeWhilePaused}}) {
        SCOPED_TRACE(c.name);
        TearDown();
        listener = std::make_shared<fake::RecordingListener>();
        SetUp();
        playMain({"a"});
        takeOver({period({"x"})});
        if (c.inHandler) {
            listener->on(1001, [&] { c.edit(*player); });
        } else {
            c.edit(*player);
        }
        ends("p2");
        ASSERT_TRUE(listener->waitFor(10240));
        EXPECT_EQ(player->getActiveIndex(), 0);
        finish();
        EXPECT_EQ(listener->count(10240), 1);
    }
}

TEST_F(IsolatedEnd, TheRestOfTheList_PlaysBehindAPeriodRemovedWhilePaused) {
    playMain({"a"});
    takeOver({period({"x"}), period({"y"})});
    player->start(0);
    player->delPeriod(1, 0);
    player->start(1);
    ends("p2");
    ASSERT_TRUE(waitForCall("p3.prepareAsync"));
    EXPECT_EQ(listener->count(10240), 0);
    ends("p3");
    EXPECT_TRUE(listener->waitFor(10240));
}

TEST_F(IsolatedEnd, RemovingTheLastPeriodThatPlays_HandsBackAtOnce) {
    for (const bool clear : {false, true}) {
        TearDown();
        listener = std::make_shared<fake::RecordingListener>();
        SetUp();
        playMain({"a"});
        takeOver({period({"x"})});
        EXPECT_EQ(clear ? player->clearPeriods(1) : player->delPeriod(1, 0), 0);
        EXPECT_EQ(log(), "p2.stop p2.destroy p1.start");
        EXPECT_EQ(player->getActiveIndex(), 0);
        EXPECT_TRUE(listener->waitFor(10240));
    }
}

TEST_F(IsolatedEnd, EachInterruption_HandsBackOnce) {
    playMain({"a"});
    for (int round = 1; round <= 3; ++round) {
        const std::string name = "p" + std::to_string(round + 1);
        player->clearPeriods(1);
        player->addPeriod(1, -1, period({"x"}), nullptr);
        player->prepareAsync(1);
        prepared(name);
        player->start(1);
        ends(name);
        ASSERT_TRUE(listener->waitFor(10240, round));
        EXPECT_EQ(player->getActiveIndex(), 0);
    }
    finish();
    EXPECT_EQ(listener->count(10240), 3);
}

TEST_F(IsolatedEnd, NewBound_TellsTheProcessorsItsHeadersAndItsPlayer) {
    auto headers = std::make_shared<StringMap>();
    headers->add("cdn_wifi_domain", "wifi.example");
    auto first = period({"a"});
    first->setHeaders(headers);
    auto source = std::make_shared<PlayComponent>();
    source->playList = IPlayList::create();
    source->playList->addPeriod(first, -1);
    load(source);
    engine.logQueries = true;
    log();
    player->prepareAsync();
    const std::string calls = log();
    engine.logQueries = false;
    std::size_t from = calls.find("p1.setDataSource(a)");
    for (const char *key : {"4005", "1709", "4009", "4010", "4015", "4016", "4014", "4008"}) {
        from = calls.find(key, from);
        ASSERT_NE(from, std::string::npos) << key << " in " << calls;
    }
    EXPECT_LT(from, calls.find("p1.prepareAsync"));

    char domain[64] = {};
    int network = -1;
    ASSERT_EQ(engine.domainCallback()(engine.idOf("p1"), domain, sizeof domain, network, "http://a", ""), 0);
    EXPECT_STREQ(domain, "wifi.example");
}

}  // namespace
}  // namespace vexo
