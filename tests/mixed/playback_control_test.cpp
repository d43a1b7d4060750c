#include "codec/codec_net_process.h"
#include "fake/recording_configure.h"
#include "mixed/player_fixture.h"

namespace vexo {
namespace {

class PlaybackControl : public PlayerTest {};

TEST_F(PlaybackControl, NewPlayer_AnswersWithTheStartValues) {
    int64_t position = 7;
    void *surface = this;
    oriplayer::Param param;
    EXPECT_EQ(player->getActiveIndex(), 0);
    EXPECT_EQ(player->getActiveID(), -1);
    EXPECT_EQ(player->getActivePeriod(), nullptr);
    EXPECT_EQ(player->getVideoWidth(), -1);
    EXPECT_EQ(player->getVolume(), -1.0F);
    EXPECT_FALSE(player->isPlaying() || player->isLooping());
    EXPECT_EQ(player->setParameter(1, param, 0), -1);
    EXPECT_EQ(player->getParameter(1, &param, 0), -1);
    EXPECT_EQ(player->setLooping(true), 0);
    EXPECT_EQ(player->getCurrentPosition(&position, 0), 0);
    EXPECT_EQ(player->getCurrentPeriodPosition(&position, 0), 0);
    EXPECT_EQ(player->getCurrentPeriodDuration(&position), 0);
    EXPECT_EQ(player->seekTo(0, 0), 0);
    EXPECT_EQ(player->seekCurrentPeriodTo(0, 0), 0);
    EXPECT_EQ(position, 0);
    EXPECT_EQ(player->getVideoSurface(&surface), 0);
    EXPECT_EQ(surface, this);
    EXPECT_EQ(player->goNext(false), -1);
    EXPECT_EQ(player->start(), 0);
    EXPECT_EQ(player->getOriPlayer(), nullptr);
    EXPECT_EQ(player->release(), -1);
    EXPECT_EQ(log(), "");
}

TEST_F(PlaybackControl, AnIdWithoutTimeline_IsRefusedAndReachesNothing) {
    for (const int id : {-1, 2, 99}) {
        SCOPED_TRACE(id);
        EXPECT_EQ(player->prepareAsync(id), -1);
        EXPECT_EQ(player->stop(id, true), -1);
        EXPECT_EQ(player->addSource(id, 0, ISource::create("a", 1.0), nullptr), -1);
        EXPECT_EQ(player->changePeriod(id, 0, period({"a"}), nullptr), -1);
        EXPECT_EQ(player->delPeriod(id, 0), -1);
        EXPECT_EQ(player->clearPeriods(id), -1);
        EXPECT_EQ(player->addPeriod(id, -1, period({"a"}), nullptr), 0);
        EXPECT_EQ(player->start(id), 0);
    }
    EXPECT_EQ(log(), "");
}

TEST_F(PlaybackControl, StartOfOneTimeline_FirstPausesTheOther) {
    playMain({"a"});
    player->addPeriod(1, -1, period({"x"}), nullptr);
    player->prepareAsync(1);
    prepared("p2");
    log();
    player->start(1);
    EXPECT_EQ(log(), "p1.pause p2.start");
    EXPECT_EQ(player->getActiveIndex(), 1);
    player->start(0);
    EXPECT_EQ(log(), "p2.pause p1.start");
    EXPECT_EQ(player->getActiveIndex(), 0);
}

TEST_F(PlaybackControl, CommandsFollowTheTimelineThatPlays) {
    playMain({"a"});
    takeOver({period({"x"})});
    player->seekTo(4000, 1);
    player->setVolume(0.5F);
    player->setLooping(true);
    EXPECT_EQ(log(), "p2.seekTo(4000,1) p2.setParameter(3004) p2.setLooping(1)");
    EXPECT_TRUE(player->isLooping());
    EXPECT_EQ(player->getActiveID(), engine.idOf("p2"));
    player->pause();  // from here on the main one is active
    player->seekTo(5000, 0);
    EXPECT_EQ(log(), "p2.pause p1.seekTo(5000,0)");
    EXPECT_FALSE(player->isLooping());
    EXPECT_EQ(player->getVolume(), -1.0F);
}

TEST_F(PlaybackControl, GoNext_WalksTheMainListAndEndsWithMinusOne) {
    playMain({"a", "b"});
    EXPECT_EQ(player->goNext(false), 0);
    ASSERT_TRUE(waitForCall("p2.prepareAsync"));
    prepared("p2");
    ASSERT_TRUE(waitForCall("p2.start"));
    EXPECT_EQ(player->goNext(false), -1);
    EXPECT_EQ(engine.living(), 1);
}

TEST_F(PlaybackControl, GoNextBehindTheIsolatedList_GivesControlBack) {
    playMain({"a"});
    takeOver({period({"x"})});
    EXPECT_EQ(player->goNext(false), 0);
    EXPECT_EQ(log(), "p2.pause p1.start");
    EXPECT_TRUE(listener->waitFor(10240));
    EXPECT_EQ(player->getActiveIndex(), 0);
}

TEST_F(PlaybackControl, ASourceSetByTheHandlerOfTheLastEnd_PlaysOnUndisturbed) {
    playMain({"a"});
    listener->on(1001, [this] {
        load(component({"b"}));
        player->prepareAsync();
        player->start();
    });
    ends("p1");
    ASSERT_TRUE(listener->waitFor(1001));
    prepared("p2");
    const std::string calls = log();
    EXPECT_NE(calls.find("p2.start"), std::string::npos);
    EXPECT_EQ(calls.find("p2.stop"), std::string::npos);
    EXPECT_EQ(player->getActiveID(), engine.idOf("p2"));
}

TEST_F(PlaybackControl, EngineResultsAreDropped_ZeroSaysThatAPlayerWasThere) {
    playMain({"a"});
    engine.resultOf(77, -5);
    oriplayer::Param param;
    EXPECT_EQ(player->setParameter(77, param, 3), 0);
    EXPECT_EQ(player->getParameter(78, &param, 3), 0);  // the engine has no answer
    const auto calls = engine.takeParameterCalls();
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.back().index, 3);
}

TEST_F(PlaybackControl, UserAgentAndSurface_ReachOneAndBothTimelines) {
    player->setUserAgent("ua");
    player->setUserAgent(nullptr);
    player->setUserAgent("agent");
    load(component({"a"}));
    player->addPeriod(1, -1, period({"x"}), nullptr);
    int window = 0;
    player->setVideoSurface(&window, true);
    log();
    player->prepareAsync(0);
    EXPECT_NE(engine.peekLog().find("p1.setUserAgent(agent)"), std::string::npos);
    player->prepareAsync(1);
    EXPECT_EQ(engine.peekLog().find("p2.setUserAgent"), std::string::npos);
    EXPECT_NE(log().find("p2.setVideoSurface"), std::string::npos);
    void *out = nullptr;
    player->getVideoSurface(&out);
    EXPECT_EQ(out, &window);
}

TEST_F(PlaybackControl, ConfigurationListener_LeavesTheOldHostFirstAndIsRenewedByEveryStart) {
    const auto host = std::make_shared<fake::RecordingConfigure>();
    const auto other = std::make_shared<fake::RecordingConfigure>();
    player->setConfigure(host);
    EXPECT_EQ(host->listeners(), 3);
    player->setConfigure(other);
    EXPECT_EQ(host->listeners(), 0);
    EXPECT_EQ(other->listeners(), 3);
    player->start(7);
    EXPECT_EQ(other->listeners(), 3);
    EXPECT_EQ(other->takeCalls(),
              "+cdn_wifi_domain +cdn_4g_domain +network_type -cdn_wifi_domain -cdn_4g_domain -network_type "
              "+cdn_wifi_domain +cdn_4g_domain +network_type");
    player->stop(9, true);
    EXPECT_EQ(other->listeners(), 0);
    player->start();
    player.reset();
    EXPECT_EQ(other->listeners(), 0);
}

TEST_F(PlaybackControl, StopOfTheIsolatedTimeline_LeavesTheMainOnePlaying) {
    playMain({"a"});
    takeOver({period({"x"})});
    player->start(0);
    log();
    EXPECT_EQ(player->stop(1, true), 0);
    EXPECT_EQ(engine.living(), 1);
    EXPECT_EQ(log().find("p1."), std::string::npos);
    player->seekTo(1000, 0);
    EXPECT_EQ(log(), "p1.seekTo(1000,0)");
}

}  // namespace
}  // namespace vexo
