// Changing a timeline that plays.
#include <tuple>

#include "timeline/timeline_fixture.h"

namespace vexo {
namespace {

class TimelineEditing : public TimelineFixture {
protected:
    void PlaySecondOfThree() {
        PlayThree();
        timeline_->SkipToNext(false);
        Forget();
    }
    int PeriodIndex() {
        int index = -1;
        timeline_->AccessCurrentBound([&](PlayBound *bound) {
            if (bound) index = bound->period_index;
        });
        return index;
    }
};

TEST_F(TimelineEditing, APausedRemovedPeriodKeepsItsPlayer_ThenTheOneAtItsPlaceFollows) {
    PlaySecondOfThree();
    timeline_->Pause();
    timeline_->RemoveBound(1);
    timeline_->RemoveBound(0);  // the removed one stands in front of what is left
    engine_.player("p2").positionMs = 700;
    EXPECT_EQ(timeline_->GetPeriodCurrentPosition(0), 700);
    EXPECT_EQ(timeline_->GetPeriodDuration(-1), 10000);
    Forget();
    EXPECT_EQ(timeline_->Start(), 0);
    timeline_->SeekCurrentPeriodTo(300, 0);
    EXPECT_EQ(Calls(), "p2.start p2.seekTo(300,0)");
    EXPECT_EQ(CallsBehind("p2", kEventEnd), Left("p2") + " " + Entered("p3", "c"));
    EXPECT_EQ(PeriodIndex(), 0);
}

TEST_F(TimelineEditing, WhatFollowsARemovedBound) {
    enum GoingOn { kEnd, kSkip, kSkipWithin };
    for (const auto &[periods, way, current] : {std::tuple{2, kEnd, "b"},
                                                {2, kSkip, "b"},
                                                {2, kSkipWithin, "b"},
                                                {1, kEnd, "none"},
                                                {1, kSkip, "a"},
                                                {1, kSkipWithin, "a"}}) {
        SCOPED_TRACE(testing::Message() << periods << " periods, way " << way);
        StartAnew();
        Add("a");
        if (periods == 2) Add("b");
        PlayFirst();
        timeline_->Pause();
        timeline_->RemoveBound(0);
        timeline_->Start();
        if (way == kEnd) Tell("p1", kEventEnd);
        EXPECT_EQ(way != kEnd && timeline_->SkipToNext(way == kSkipWithin), way != kEnd && periods == 2);
        EXPECT_EQ(CurrentUrl(), current);
    }
}

TEST_F(TimelineEditing, RemovingTheChosenPeriodBeforeStart_ItStillStartsWhileItIsCurrent) {
    AddThree();
    timeline_->Prepare();
    timeline_->RemoveBound(0);
    Forget();
    timeline_->Start();
    EXPECT_EQ(Calls(), "p1.start");
    timeline_->Stop();
    EXPECT_EQ(timeline_->Start(), 0) << "the chosen record is gone with its player";
    timeline_->Prepare();
    EXPECT_EQ(CurrentUrl(), "b");
}

TEST_F(TimelineEditing, IdentitiesFollowEdits) {
    PlaySecondOfThree();
    timeline_->InsertBound(MakePeriod({{"x", 10}}), nullptr, 0);
    Tell("p2", kEventFirstPicture);
    timeline_->RemoveBound(0);
    timeline_->RemoveBound(0);
    Tell("p2", kEventVideoSize);
    timeline_->ReplaceBound(MakeMixed({{"y", 1}, {"z", 1}}), nullptr, 1);  // another period
    ASSERT_TRUE(listener_->waitFor(kEventPeriodReplaced));
    Tell("p2", kEventVideoSize);
    EXPECT_EQ(Events(), "1017@000200 306@000000 -10001@000000(1) 306@000000");
    EXPECT_EQ(Calls(), "") << "no edit of another period touches the player";
}

TEST_F(TimelineEditing, ReplacingThePlayingPeriodKeepsItsPlayer) {
    PlaySecondOfThree();
    const auto player = timeline_->GetActivePlayer();
    const auto replacement = MakeMixed({{"x", 10}, {"y", 10}});
    timeline_->ReplaceBound(replacement, nullptr, 1);
    EXPECT_EQ(Calls(), "p2.changePeriod(x)");
    EXPECT_EQ(timeline_->GetActivePlayer(), player);
    EXPECT_EQ(timeline_->GetState(), Timeline::kStarted);
    EXPECT_EQ(timeline_->GetDuration(), 40000);
    timeline_->AccessCurrentBound([](PlayBound *bound) { EXPECT_EQ(bound->period->getChangeMode(), 2); });
    ASSERT_TRUE(listener_->waitFor(kEventPeriodReplaced));
    Tell("p2", kEventEnd);
    EXPECT_EQ(Events(), "-10001@000100(1) 1001@000100");
    EXPECT_EQ(CurrentUrl(), "y");
}

TEST_F(TimelineEditing, ReplacingThePreparedFirstPeriod_StartFindsTheReplacement) {
    Add("a", 10, -1);
    Add("b");
    timeline_->Prepare();
    timeline_->ReplaceBound(MakePeriod({{"x", 10}}), nullptr, 1);
    Forget();
    EXPECT_EQ(CallsBehind("p1", kEventPrepared), "") << "it waits for Start as the replaced one did";
    timeline_->Start();
    EXPECT_EQ(Calls(), "p1.start");
}

TEST_F(TimelineEditing, ReplacingByAMixedPeriodWithoutSourcesRemoves) {
    PlayThree();
    timeline_->ReplaceBound(MakeMixed({}), nullptr, 0);
    EXPECT_EQ(Calls(), Left("p1") + " " + Entered("p2", "b"));
    EXPECT_EQ(PeriodIndex(), 0);
    ASSERT_TRUE(listener_->waitFor(kEventPeriodReplaced));
    EXPECT_EQ(CallsBehind("p2", kEventPrepared), "p2.start");
    timeline_->ReplaceBound(MakeMixed({}), nullptr, 0);
    timeline_->ReplaceBound(MakeMixed({}), nullptr, 0);
    EXPECT_EQ(timeline_->GetState(), Timeline::kIdle);
    EXPECT_EQ(timeline_->GetDuration(), 0);
    EXPECT_TRUE(listener_->waitFor(kEventPeriodReplaced, 3));
}

}  // namespace
}  // namespace vexo
