#include <gmock/gmock.h>

#include "fake/recording_configure.h"
#include "mixed/player_fixture.h"
#include "player/test_picture.h"
#include "render/render_manager.h"

namespace vexo {
namespace {

using testing::AllOf;
using testing::Each;
using testing::HasSubstr;
using testing::Not;

class PlaybackControl : public PlayerTest {};

TEST_F(PlaybackControl, ANewPlayer_AnswersThatNothingIsThere) {
    oriplayer::Param param;
    auto &p = *player;
    const std::vector<int> refused{p.setParameter(1, param, 0),
                                   p.getParameter(1, &param, 0),
                                   p.goNext(false),
                                   p.release(),
                                   p.getActiveID(),
                                   p.getVideoWidth()};
    EXPECT_THAT(refused, Each(-1));
    int64_t position = 7;
    const std::vector<int> accepted{p.getCurrentPeriodPosition(&position, 0),
                                    p.getCurrentPeriodDuration(&position),
                                    p.setLooping(true),
                                    p.seekTo(0, 0),
                                    p.seekCurrentPeriodTo(0, 0),
                                    p.start(),
                                    p.getCurrentPosition(&position, 0)};
    EXPECT_THAT(accepted, Each(0));
    EXPECT_EQ(position, 0);
    EXPECT_EQ(p.getVolume(), -1.0F);
    EXPECT_FALSE(p.isPlaying() || p.isLooping() || p.getActivePeriod() || p.getOriPlayer());
    EXPECT_EQ(log(), "");
}

TEST_F(PlaybackControl, AnIdWithoutTimeline_IsRefusedAndReachesNothing) {
    auto &p = *player;
    for (const int id : {-1, 2, 99}) {
        const std::vector<int> refused{p.prepareAsync(id),
                                       p.stop(id, true),
                                       p.addSource(id, 0, ISource::create("a", 1.0), nullptr),
                                       p.changePeriod(id, 0, period({"a"}), nullptr),
                                       p.delPeriod(id, 0),
                                       p.clearPeriods(id)};
        EXPECT_THAT(refused, Each(-1)) << id;
        EXPECT_EQ(p.addPeriod(id, -1, period({"a"}), nullptr), 0);
        EXPECT_EQ(p.start(id), 0);
    }
    EXPECT_EQ(log(), "");
}

TEST_F(PlaybackControl, CommandsFollowTheTimelineThatPlays_StartOfOneFirstPausesTheOther) {
    interrupt({period({"x"})});
    player->seekTo(4000, 1);
    player->setVolume(0.5F);
    player->setLooping(true);
    EXPECT_EQ(log(), "p2.seekTo(4000,1) p2.setParameter(3004) p2.setLooping(1)");
    EXPECT_TRUE(player->isLooping());
    EXPECT_EQ(player->getActiveID(), engine.idOf("p2"));

    player->start(0);
    player->seekTo(5000, 0);
    EXPECT_EQ(log(), "p2.pause p1.start p1.seekTo(5000,0)");
    EXPECT_EQ(player->getActiveIndex(), 0);
    EXPECT_FALSE(player->isLooping());
    EXPECT_EQ(player->getVolume(), -1.0F);

    player->start(1);
    player->pause();  // from here on the main one is active
    player->seekTo(6000, 0);
    EXPECT_EQ(log(), "p1.pause p2.start p2.pause p1.seekTo(6000,0)");
    EXPECT_EQ(player->stop(1, true), 0);
    EXPECT_EQ(log(), "p2.setListener(null) p2.stop p2.destroy");
}

TEST_F(PlaybackControl, GoNextBehindTheIsolatedList_GivesControlBack) {
    interrupt({period({"x"})});
    EXPECT_EQ(player->goNext(false), 0);
    EXPECT_EQ(log(), "p2.pause p1.start");
    EXPECT_TRUE(listener->waitFor(10240));
    EXPECT_EQ(player->getActiveIndex(), 0);
}

TEST_F(PlaybackControl, EngineResultsAreDropped_ZeroSaysThatAPlayerWasThere) {
    playMain({"a"});
    engine.resultOf(77, -5);
    engine.takeParameterCalls();
    oriplayer::Param param;
    EXPECT_EQ(player->setParameter(77, param, 3), 0);
    EXPECT_EQ(engine.takeParameterCalls().at(0).index, 3);
    EXPECT_EQ(player->getParameter(78, &param, 3), 0);  // the engine has no answer
}

TEST_F(PlaybackControl, UserAgentAndSurface_ReachOneAndBothTimelines) {
    for (const char *agent : {"ua", static_cast<const char *>(nullptr), "agent"}) player->setUserAgent(agent);
    interrupt({period({"x"})});
    EXPECT_THAT(engine.history(), AllOf(HasSubstr("p1.setUserAgent(agent)"), Not(HasSubstr("p2.setUserAgent"))));
    void *const window = reinterpret_cast<void *>(0x10);
    player->setVideoSurface(window, true);
    EXPECT_EQ(log(), "p1.setVideoSurface(0x10,1) p2.setVideoSurface(0x10,1)");
    void *out = nullptr;
    player->getVideoSurface(&out);
    EXPECT_EQ(out, window);
}

TEST_F(PlaybackControl, ThePicturesOfAPausedTimeline_AreHiddenWhileTheOtherPlays) {
    struct Counter final : IRenderMiddleware {
        bool Process(RenderOutputInfo &info) override {
            seen += info.picture->width == 1 ? "a" : "x";
            return true;
        }
        RenderCat GetRenderCat() override { return kRenderCatVideo; }
        std::string seen;
    };
    const auto counter = std::make_shared<Counter>();
    RenderManager::Instance().AddMiddleware(counter);
    player->setVideoPipelineEnable(true);
    RenderManager::Instance().RemoveMiddleware(counter);
    interrupt({period({"x"})});
    const auto seen = [&] {
        for (const auto &[name, width] : {std::pair{"p1", 1}, {"p2", 2}}) {
            VexoPlayerNS::TestPicture picture(width, 2, 0);
            EXPECT_EQ(engine.pipelineOf(name)->Render(&picture.record), 0);
        }
        return std::exchange(counter->seen, {});
    };
    EXPECT_EQ(seen(), "x");
    player->start(0);
    EXPECT_EQ(seen(), "a");
    player->seekTo(1000, 0);
    player->pause();
    EXPECT_EQ(seen(), "ax");
}

TEST_F(PlaybackControl, NowhereToWrite_IsRefused) {
    playMain({"a"});
    int value = 77;
    auto &p = *player;
    for (const int result :
         {p.getCurrentPosition(nullptr, 0), p.getDuration(nullptr), p.getVideoSize(nullptr, nullptr),
          p.getVideoSize(&value, nullptr), p.getVideoSize(nullptr, &value), p.getCurrentPeriodDuration(nullptr),
          p.getCurrentPeriodPosition(nullptr, 0), p.getVideoSurface(nullptr), p.getParameter(1, nullptr, 0)}) {
        EXPECT_EQ(result, -1);
    }
    EXPECT_EQ(value, 77);
}

TEST_F(PlaybackControl, ANewBound_AddsUpWhatItsPlayerHasLoaded) {
    load(component({"a"}));
    engine.logQueries = true;
    player->prepareAsync();
    const std::string calls = log();
    std::size_t from = calls.find("p1.setDataSource(a)");
    for (const char *key : {"4005", "1709", "4009", "4010", "4015", "4016", "4014", "4008", "p1.prepareAsync"}) {
        from = calls.find(key, from);
        ASSERT_NE(from, std::string::npos) << key << " in " << calls;
    }
}

TEST_F(PlaybackControl, DomainsInThePeriodsOfATimeline_AreForItsOwnPlayer) {
    const auto period = [](const char *url, const char *key, const char *domain) {
        const auto headers = std::make_shared<StringMap>();
        headers->add(key, domain);
        const auto made = PlayerTest::period({url});
        made->setHeaders(headers);
        return made;
    };
    for (const bool mainFirst : {true, false}) {
        restart();
        const auto programme = component({});
        // It inherits no domain from an interruption that was prepared before it.
        programme->playList->addPeriod(period("a", mainFirst ? "cdn_wifi_domain" : "else", "main"), -1);
        load(programme);
        player->addPeriod(1, -1, period("x", "cdn_wifi_domain", "other"), nullptr);
        for (const bool main : {mainFirst, !mainFirst}) player->prepareAsync(main ? 0 : 1);
        std::string answers;
        for (const bool main : {true, false}) {
            char domain[16] = "none";
            int network = 0;
            engine.domainCallback()(engine.idOf(main == mainFirst ? "p1" : "p2"), domain, 15, network, "", "");
            answers += domain + std::string(" ");
        }
        EXPECT_EQ(answers, mainFirst ? "main other " : "none other ");
    }
}

TEST_F(PlaybackControl, ConfigurationListener_LeavesTheOldHostFirstAndIsRenewedByEveryStart) {
    const auto host = std::make_shared<fake::RecordingConfigure>();
    const auto other = std::make_shared<fake::RecordingConfigure>();
    player->setConfigure(host);
    EXPECT_EQ(host->listeners(), 3);
    player->setConfigure(other);
    EXPECT_EQ(host->listeners(), 0);
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

}  // namespace
}  // namespace vexo
