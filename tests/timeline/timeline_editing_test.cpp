// Changing a timeline that plays.
#include "timeline/timeline_fixture.h"

namespace vexo {
namespace {

class TimelineEditing : public TimelineFixture {
protected:
    void Replace(const char *url, int index) { timeline_->ReplaceBound(MakePeriod({{url, 10}}), nullptr, index); }
    void Insert(const char *url, int index) { timeline_->InsertBound(MakePeriod({{url, 10}}), nullptr, index); }
    int PeriodIndex() {
        int index = -1;
        timeline_->AccessCurrentBound([&](PlayBound *bound) {
            if (bound) index = bound->period_index;
        });
        return index;
    }
};

TEST_F(TimelineEditing, RemovingThePlayingPeriodGoesOnToTheNext) {
    AddThree();
    PlayFirst();
    timeline_->SkipToNext(false);
    Forget();
    timeline_->RemoveBound(1);
    EXPECT_EQ(Calls(), Left("p2") + " " + Entered("p3", "c"));
    EXPECT_EQ(timeline_->GetState(), Timeline::kStarted);
    EXPECT_EQ(PeriodIndex(), 1);
    Tell("p3", kEventPrepared);
    EXPECT_EQ(Calls(), "p3.start");
    EXPECT_EQ(Events(), "1000@000100");
}

TEST_F(TimelineEditing, APausedRemovedPeriodKeepsItsPlayer_ThenTheOneAtItsPlaceFollows) {
    AddThree();
    PlayFirst();
    timeline_->SkipToNext(false);
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
    Tell("p2", kEventEnd);
    EXPECT_EQ(Calls(), Left("p2") + " " + Entered("p3", "c"));
    EXPECT_EQ(PeriodIndex(), 0);
}

struct RemovedCase {
    const char *name;
    int periods;
    bool skip;
    bool withinPeriod;
    const char *current;
};

TEST_F(TimelineEditing, WhatFollowsARemovedBound) {
    for (const RemovedCase &test :
         {RemovedCase{"its end", 2, false, false, "b"}, RemovedCase{"its end, alone", 1, false, false, "none"},
          RemovedCase{"a skip", 2, true, false, "b"}, RemovedCase{"a skip within", 2, true, true, "b"},
          RemovedCase{"a skip, alone", 1, true, false, "a"}, RemovedCase{"a skip within, alone", 1, true, true, "a"}}) {
        SCOPED_TRACE(test.name);
        timeline_->Reset();
        engine_.reset();
        Add("a");
        if (test.periods == 2) Add("b");
        PlayFirst();
        timeline_->Pause();
        timeline_->RemoveBound(0);
        timeline_->Start();
        if (test.skip) {
            EXPECT_EQ(timeline_->SkipToNext(test.withinPeriod), test.periods == 2);
        } else {
            Tell("p1", kEventEnd);
        }
        EXPECT_EQ(CurrentUrl(), test.current);
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
    AddThree();
    PlayFirst();
    timeline_->SkipToNext(false);
    Forget();
    Insert("x", 0);
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
    AddThree();
    PlayFirst();
    timeline_->SkipToNext(false);
    Forget();
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
    Replace("x", 1);
    Forget();
    Tell("p1", kEventPrepared);
    EXPECT_EQ(Calls(), "") << "it waits for Start as the replaced one did";
    timeline_->Start();
    EXPECT_EQ(Calls(), "p1.start");
}

TEST_F(TimelineEditing, ReplacingACurrentPeriodWithoutAPlayerCallsNoEngine) {
    AddThree();
    engine_.failCreates(1);
    timeline_->Prepare();
    Forget();
    Replace("x", 0);
    EXPECT_EQ(Calls(), "");
    EXPECT_EQ(CurrentUrl(), "x");
}

TEST_F(TimelineEditing, ReplacingByAMixedPeriodWithoutSourcesRemoves) {
    AddThree();
    PlayFirst();
    timeline_->ReplaceBound(MakeMixed({}), nullptr, 0);
    EXPECT_EQ(Calls(), Left("p1") + " " + Entered("p2", "b"));
    EXPECT_EQ(PeriodIndex(), 0);
    ASSERT_TRUE(listener_->waitFor(kEventPeriodReplaced));
    Tell("p2", kEventPrepared);
    EXPECT_EQ(Calls(), "p2.start");
    timeline_->ReplaceBound(MakeMixed({}), nullptr, 0);
    timeline_->ReplaceBound(MakeMixed({}), nullptr, 0);
    EXPECT_EQ(timeline_->GetState(), Timeline::kIdle);
    EXPECT_EQ(timeline_->GetDuration(), 0);
    EXPECT_TRUE(listener_->waitFor(kEventPeriodReplaced, 3));
}

}  // namespace
}  // namespace vexo
