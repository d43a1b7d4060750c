// From bound to bound: the calls that the engine sees, and their order.
#include <sstream>

#include "fake/recording_configure.h"
#include "timeline/timeline_fixture.h"

namespace vexo {
namespace {

class TimelinePlayback : public TimelineFixture {
protected:
    void Command(const std::string &name) {
        if (name == "forward") timeline_->SeekTo(15000, 0);
        if (name == "back") timeline_->SeekTo(5000, 0);
        if (name == "skip") timeline_->SkipToNext(false);
        if (name == "pause") timeline_->Pause();
        if (name == "start") timeline_->Start();
        if (name == "stop") timeline_->Stop();
        if (name == "prepare") timeline_->Prepare();
        if (name == "remove") timeline_->RemoveBound(0);
    }
};

struct NullReporter : protocols::IReporter {
    bool report(std::string, int64_t, int, std::map<std::string, std::string> &) override { return true; }
};

TEST_F(TimelinePlayback, ANewPlayerIsGivenEverythingInOrder) {
    const auto internal = std::make_shared<fake::RecordingListener>();
    internal->on(kEventPeriodSwitched, [this] { engine_.write("notice"); });
    timeline_->SetInternalListener(internal);
    timeline_->SetUserAgent("agent");
    timeline_->SetReporter(std::make_shared<NullReporter>());
    timeline_->SetConfigure(std::make_shared<fake::RecordingConfigure>());
    timeline_->SetVideoPipelineEnable(true);
    timeline_->SetVideoSurface({reinterpret_cast<void *>(0x10), true});
    timeline_->SetVolume(0.5f);
    Add("a");
    engine_.logQueries = true;
    timeline_->Prepare();
    EXPECT_EQ(Calls(),
              "p1.create p1.setUserAgent(agent) p1.setReporter p1.setConfigure p1.setVideoPipeline "
              "p1.setVideoSurface(0x10,1) p1.setListener p1.setDataSource(a) p1.getPlayerId notice "
              "p1.setParameter(3004) p1.prepareAsync");
    EXPECT_EQ(internal->takeEvents(), "-10000@-1(" + std::to_string(engine_.idOf("p1")) + ")");
    EXPECT_EQ(timeline_->GetActiveId(), engine_.idOf("p1"));
}

TEST_F(TimelinePlayback, AProgrammePlaysFromBoundToBoundWithOnePlayerAtATime) {
    Add("a");
    AddMixed({{"b", 10}, {"c", 10}}, -1);
    timeline_->Prepare();
    EXPECT_EQ(Calls(), Entered("p1", "a"));
    EXPECT_EQ(CallsBehind("p1", kEventPrepared), "");
    EXPECT_EQ(timeline_->Start(), 0);
    EXPECT_EQ(Calls(), "p1.start");
    EXPECT_EQ(CallsBehind("p1", kEventEnd), Left("p1") + " " + Entered("p2", "b"));
    EXPECT_EQ(CallsBehind("p2", kEventPrepared), "p2.start");
    EXPECT_EQ(CallsBehind("p2", kEventEnd), Left("p2") + " " + Entered("p3", "c"));
    Tell("p3", kEventPrepared);
    EXPECT_EQ(CallsBehind("p3", kEventEnd), "p3.start p3.setListener(null) " + Left("p3"));
    EXPECT_EQ(Events(), "1000@000000 1001@000000 1000@000100 1001@000100 1000@000101 1001@000101");
    EXPECT_EQ(timeline_->GetState(), Timeline::kIdle);
    EXPECT_EQ(timeline_->GetActivePlayer(), nullptr);
    EXPECT_EQ(engine_.maxLiving(), 1);
}

TEST_F(TimelinePlayback, PrepareEntersTheFirstBoundWithAStartTime) {
    for (const auto &[starts, entered] : std::vector<std::pair<std::vector<int64_t>, const char *>>{
             {{}, ""}, {{-1, -1}, ""}, {{0, 0}, "0"}, {{-1, 500, 0}, "1"}}) {
        StartAnew();
        for (std::size_t i = 0; i < starts.size(); ++i) Add(std::to_string(i).c_str(), 10, starts[i]);
        timeline_->Prepare();
        EXPECT_EQ(timeline_->Start(), 0);
        EXPECT_EQ(Calls(), *entered ? Entered("p1", entered) + " p1.start" : "");
    }
}

TEST_F(TimelinePlayback, ABoundStartsByItselfIfItWasEnteredStartedOrIsALaterOne) {
    struct StartCase {
        const char *commands;  // given while the first of three bounds plays
        const char *player;    // that reports 1000 then
        const char *calls;     // what the 1000 causes
        int state;
    };
    for (const StartCase &test : {StartCase{"forward", "p2", "p2.start", 1},
                                  {"forward back", "p3", "p3.start", 1},
                                  {"pause forward", "p2", "p2.start", 2},
                                  {"skip pause", "p2", "p2.start p2.pause", 2},
                                  {"skip pause start", "p2", "p2.start", 1},
                                  {"skip stop prepare", "p3", "", 0},
                                  {"skip prepare", "p3", "p3.start", 1},
                                  {"stop forward", "p2", "", 0},
                                  {"stop forward start", "p2", "", 1},
                                  {"remove", "p2", "p2.start", 1}}) {
        SCOPED_TRACE(test.commands);
        StartAnew();
        PlayThree();
        std::istringstream commands(test.commands);
        for (std::string command; commands >> command;) Command(command);
        Forget();
        EXPECT_EQ(CallsBehind(test.player, kEventPrepared), test.calls);
        EXPECT_EQ(timeline_->GetState(), test.state);
    }
}

TEST_F(TimelinePlayback, StartTwiceAndStartWithoutAPlayerDoNothing) {
    EXPECT_EQ(timeline_->Start(), 0);
    EXPECT_EQ(timeline_->GetState(), Timeline::kIdle);
    AddThree();
    engine_.player("p1").startResult = 7;
    timeline_->Prepare();
    EXPECT_EQ(timeline_->Start(), 7) << "the engine's result";
    Forget();
    EXPECT_EQ(timeline_->Start(), 0);
    timeline_->Pause();
    EXPECT_EQ(timeline_->Start(), 7);
    EXPECT_EQ(Calls(), "p1.pause p1.start");
}

TEST_F(TimelinePlayback, ASkipGoesOnFromThePeriodThatPlays) {
    struct SkipCase {
        bool withinPeriod;
        int64_t position;  // where it plays: a | b c d | e, 10 s each
        bool paused;
        const char *entered;  // "" for a skip that finds nothing and leaves playback alone
    };
    for (const SkipCase &test : {SkipCase{false, 0, false, "b"},
                                 {false, 15000, false, "e"},
                                 {false, 45000, false, ""},
                                 {false, 0, true, ""},
                                 {true, 15000, false, "c"},
                                 {true, 35000, false, "c"},
                                 {true, 0, false, "b"},
                                 {true, 45000, false, ""}}) {
        SCOPED_TRACE(std::to_string(test.position) + (test.withinPeriod ? " within" : "") +
                     (test.paused ? " paused" : ""));
        StartAnew();
        Add("a");
        AddMixed({{"b", 10}, {"c", 10}, {"d", 10}});
        Add("e");
        PlayFirst();
        if (test.position > 0) timeline_->SeekTo(test.position, 0);
        if (test.paused) timeline_->Pause();
        const std::string url = CurrentUrl();
        const bool goes = *test.entered != 0;
        Forget();
        EXPECT_EQ(timeline_->SkipToNext(test.withinPeriod), goes);
        EXPECT_EQ(CurrentUrl(), goes ? test.entered : url);
        EXPECT_EQ(Calls().empty(), !goes);
    }
}

TEST_F(TimelinePlayback, AVolumeIsAppliedToEachNewPlayer_TheEnginesOwnStandsUntilOneIsSet) {
    for (const auto &[volume, number, value] : {std::tuple{0.0f, 2009, 1.0}, {0.25f, 3004, 0.25}, {-1.0f, 0, 0.0}}) {
        SCOPED_TRACE(volume);
        StartAnew();
        timeline_->SetVolume(volume);
        Add("a");
        timeline_->Prepare();
        const auto calls = engine_.takeParameterCalls();
        ASSERT_EQ(calls.size(), volume < 0 ? 0u : 1u);
        if (volume < 0) continue;
        EXPECT_EQ(calls[0].number, number);
        EXPECT_EQ(calls[0].value.getDouble(-1), value);
        EXPECT_EQ(calls[0].index, -1);
    }
}

TEST_F(TimelinePlayback, SettingsReachTheRunningPlayerAtOnce) {
    timeline_->SetVolume(0.5f);
    timeline_->SetAudioDevice("speaker");
    PlayThree();
    engine_.takeParameterCalls();
    timeline_->SetVolume(0.0f);
    timeline_->SetAudioDevice("headphones");
    timeline_->SetVideoSurface({reinterpret_cast<void *>(0x20), false});
    EXPECT_EQ(Calls(), "p1.setParameter(3004) p1.setParameter(3006) p1.setVideoSurface(0x20,0)");
    EXPECT_STREQ(engine_.takeParameterCalls()[1].value.getCString(-1), "headphones");
    timeline_->SkipToNext(false);
    EXPECT_EQ(Calls().find("3006"), std::string::npos) << "a device is not inherited";
}

TEST_F(TimelinePlayback, WithoutAnEnginePlayer_TheBoundIsCurrentAndCanBeEnteredAgain) {
    AddThree();
    engine_.failCreates(1);
    timeline_->Prepare();
    EXPECT_EQ(Calls(), "create(failed)");
    EXPECT_EQ(timeline_->GetActivePlayer(), nullptr);
    timeline_->AccessCurrentBound([](PlayBound *bound) {
        ASSERT_NE(bound, nullptr);
        EXPECT_EQ(bound->bound_player, nullptr);
    });
    timeline_->Pause();
    EXPECT_EQ(timeline_->Start(), 0);
    timeline_->ReplaceBound(MakePeriod({{"x", 10}}), nullptr, 0);
    EXPECT_EQ(Calls(), "") << "nobody to hear of the replacement";
    timeline_->Prepare();
    EXPECT_EQ(Calls(), Entered("p1", "x"));
}

TEST_F(TimelinePlayback, ResetEmptiesTheTimeline_AndItPlaysAgain) {
    timeline_->SetVideoSurface({reinterpret_cast<void *>(0x10), true});
    timeline_->SetUserAgent("agent");
    PlayThree();
    timeline_->Reset();
    EXPECT_EQ(Calls(), "p1.setListener(null) " + Left("p1"));
    EXPECT_EQ(timeline_->GetDuration(), 0);
    EXPECT_EQ(timeline_->GetState(), Timeline::kIdle);
    EXPECT_EQ(timeline_->GetVideoSurface(), nullptr);
    Add("d");
    timeline_->Prepare();
    EXPECT_EQ(Calls(), "p2.create p2.setUserAgent(agent) p2.setListener p2.setDataSource(d) p2.prepareAsync");
    Tell("p2", kEventPrepared);
    timeline_->Start();
    EXPECT_EQ(Calls(), "p2.start");
}

}  // namespace
}  // namespace vexo
