// What the listeners hear, what the timeline does about it, and commands given from inside a listener.
#include <cstdarg>
#include <functional>
#include <future>
#include <thread>

#include "base/log.h"
#include "timeline/timeline_fixture.h"

namespace vexo {
namespace {

class TimelineEvents : public TimelineFixture {
protected:
    static constexpr int kHold = 777;

    /// Holds the looper in a listener until Release, so that events wait together.
    void Hold(const char *player) {
        listener_->on(kHold, [this] {
            inside_.set_value();
            released_.get_future().wait();
        });
        ASSERT_TRUE(engine_.post(player, kHold));
        inside_.get_future().wait();
    }
    void Release() { released_.set_value(); }

private:
    std::promise<void> inside_;
    std::promise<void> released_;
};

TEST_F(TimelineEvents, WithoutACurrentBound_TheLastIdentityOrTheEnginesIdIsUsed) {
    const oriplayer::Param none;
    timeline_->PostMessage_(0x77, kEventTimelineSwitched, 0, 0, none);
    ASSERT_TRUE(listener_->waitFor(kEventTimelineSwitched));
    Add("a", 10, -1);
    Add("b");
    timeline_->Prepare();
    timeline_->Stop();
    timeline_->PostMessage_(0x77, kEventEnd, 0, 0, none);
    ASSERT_TRUE(listener_->waitFor(kEventEnd));
    Settle();
    EXPECT_EQ(Events(), "10240@000077 1001@000100");
    EXPECT_EQ(engine_.created(), 1) << "the event is told and has no reaction";
}

TEST_F(TimelineEvents, TheStartDelayIsRaisedOnTheFirstPeriodOnly) {
    const auto internal = std::make_shared<fake::RecordingListener>();
    timeline_->SetInternalListener(internal);
    PlayThree();
    Tell("p1", kEventFirstPicture);
    EXPECT_EQ(listener_->count(kEventStartDelay), 1);
    EXPECT_EQ(internal->count(kEventFirstPicture), 1);
    EXPECT_EQ(internal->count(kEventStartDelay), 0);
    timeline_->SkipToNext(false);
    Tell("p2", kEventFirstPicture);
    EXPECT_EQ(listener_->count(kEventStartDelay), 1);
}

TEST_F(TimelineEvents, TextsOutliveTheEnginesCall) {
    PlayThree();
    char text[] = "reason";
    oriplayer::Param param;
    param.putCString(text, false);
    Hold("p1");
    engine_.post("p1", 503, 0, 0, param);
    text[0] = 'X';
    Release();
    ASSERT_TRUE(listener_->waitFor(503));
    EXPECT_EQ(Events(), "777@000000 503@000000:reason");
}

std::string sSunk;

void KeepLine(const char *tag, const char *format, ...) {
    if (tag) return;
    char line[64];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    sSunk += line;
}

TEST_F(TimelineEvents, TheEnginesLogGoesToTheSinkAlone_AsTextNotAsFormat) {
    sSunk.clear();
    PlayThree();
    const LogFunction before = GetLogCallback();
    SetLogCallback(&KeepLine);
    oriplayer::Param param;
    param.putCString("100%s", false);
    EXPECT_TRUE(engine_.post("p1", kEventEngineLog, 0, 0, param));
    EXPECT_TRUE(engine_.post("p1", kEventEngineLog));
    SetLogCallback(nullptr);
    EXPECT_TRUE(engine_.post("p1", kEventEngineLog, 0, 0, param));
    SetLogCallback(before);
    Settle();
    EXPECT_EQ(sSunk, "100%s");
    EXPECT_EQ(Events(), "");
}

TEST_F(TimelineEvents, AnEndQueuedBeforeASwitchStillActsOnTheNewBound) {
    PlayThree();
    Hold("p1");
    engine_.post("p1", kEventEnd);
    timeline_->SkipToNext(false);
    Release();
    ASSERT_TRUE(listener_->waitFor(kEventEnd));
    Settle();
    EXPECT_EQ(CurrentUrl(), "c");
    EXPECT_EQ(Events(), "777@000000 1001@000100");
}

std::string Moved(const char *url) {
    return Left("p1") + " " + Entered("p2", url);
}

TEST_F(TimelineEvents, TheReactionToAnEndYieldsToWhatAListenerDid) {
    struct ReactionCase {
        const char *name;
        std::function<void(Timeline &)> command;  // of the listener that hears the end of the first of three bounds
        std::string calls;
    };
    for (const ReactionCase &test :
         {ReactionCase{"Nothing", [](Timeline &) {}, Moved("b")},
          ReactionCase{"SeekBack", [](Timeline &tl) { tl.SeekTo(2000, 0); }, "p1.seekTo(2000,0)"},
          ReactionCase{"SeekOnThePeriodScale", [](Timeline &tl) { tl.SeekCurrentPeriodTo(0, 0); }, "p1.seekTo(0,0)"},
          ReactionCase{"SeekElsewhere", [](Timeline &tl) { tl.SeekTo(25000, 0); }, Moved("c") + " p2.seekTo(5000,0)"},
          ReactionCase{"PrepareAnew", [](Timeline &tl) { tl.Prepare(); }, "p1.seekTo(0,0)"},
          ReactionCase{"Skip", [](Timeline &tl) { tl.SkipToNext(false); }, Moved("b")},
          ReactionCase{"RemoveWhatEnded", [](Timeline &tl) { tl.RemoveBound(0); }, Moved("b")},
          ReactionCase{"RemoveWhatFollows", [](Timeline &tl) { tl.RemoveBound(1); }, Moved("c")},
          ReactionCase{"InsertWhatFollows",
                       [](Timeline &tl) {
                           tl.InsertBound(MakePeriod({{"x", 1}}), nullptr, 1);
                       },
                       Moved("x")},
          ReactionCase{"Pause", [](Timeline &tl) { tl.Pause(); }, "p1.pause " + Moved("b")},
          ReactionCase{"Stop", [](Timeline &tl) { tl.Stop(); }, "p1.setListener(null) " + Left("p1")}}) {
        SCOPED_TRACE(test.name);
        StartAnew();
        PlayThree();
        listener_->on(kEventEnd, [&] { test.command(*timeline_); });
        EXPECT_EQ(CallsBehind("p1", kEventEnd), test.calls);
        EXPECT_LE(engine_.maxLiving(), 1);
    }
    listener_->on(kEventEnd, nullptr);
}

TEST_F(TimelineEvents, APauseWhileAnEndIsHandledHoldsTheNextBound) {
    for (const bool inListener : {true, false}) {
        StartAnew();
        PlayThree();
        listener_->on(kEventEnd, inListener ? [this] { timeline_->Pause(); } : std::function<void()>());
        if (!inListener) timeline_->Pause();  // as the engine raises the end
        EXPECT_EQ(CallsBehind("p1", kEventEnd), "p1.pause " + Moved("b"));
        EXPECT_EQ(CallsBehind("p2", kEventPrepared), "p2.start p2.pause");
        timeline_->Start();
        EXPECT_EQ(Calls(), "p2.start");
    }
    listener_->on(kEventEnd, nullptr);
}

TEST_F(TimelineEvents, TheOwnerHearsAgainOfAnEndThatHasBecomeTheLast) {
    const auto internal = std::make_shared<fake::RecordingListener>();
    Add("a");
    Add("b");
    PlayFirst();
    timeline_->SetInternalListener(internal);
    internal->on(kEventEnd, [this] { timeline_->RemoveBound(1); });
    EXPECT_EQ(CallsBehind("p1", kEventEnd), "p1.setListener(null) " + Left("p1"));
    EXPECT_EQ(internal->count(kEventEnd), 2);
}

TEST_F(TimelineEvents, ThePreparedReactionYieldsToASwitchInTheListener) {
    PlayThree();
    timeline_->SkipToNext(false);
    engine_.player("p2").durationMs = 5000;
    Forget();
    listener_->on(kEventPrepared, [this] { timeline_->SkipToNext(false); });
    EXPECT_EQ(CallsBehind("p2", kEventPrepared), Left("p2") + " " + Entered("p3", "c"))
        << "p3 is not prepared yet and not started";
    EXPECT_EQ(timeline_->GetDuration(), 30000) << "the answer of p2 is not taken for c";
}

TEST_F(TimelineEvents, ResetInAListener_NothingOfTheOldPeriodsIsToldOrActs) {
    const auto internal = std::make_shared<fake::RecordingListener>();
    PlayThree();
    timeline_->SetInternalListener(internal);
    listener_->on(kEventEnd, [this] {
        engine_.post("p1", kEventFirstPicture);  // waits behind this event
        timeline_->Reset();
        Add("d");
        timeline_->Prepare();
        timeline_->Start();
    });
    ASSERT_TRUE(engine_.post("p1", kEventEnd));
    ASSERT_TRUE(listener_->waitFor(kEventEnd));
    EXPECT_EQ(internal->count(kEventEnd), 0);
    Tell("p2", kEventPrepared);
    timeline_->Close();  // joins the old looper too
    EXPECT_EQ(Calls(), "p1.setListener(null) " + Left("p1") + " " + Entered("p2", "d") +
                           " p2.start p2.setListener(null) " + Left("p2"));
    EXPECT_EQ(Events(), "1001@000000 1000@000000");
}

TEST_F(TimelineEvents, ResetElsewhere_WhatWaitsIsStillTold) {
    PlayThree();
    Hold("p1");
    engine_.post("p1", 888);
    std::thread resetting([this] { timeline_->Reset(); });
    Release();
    resetting.join();
    EXPECT_EQ(listener_->takeEvents(), "777@000000 888@000000");
}

TEST_F(TimelineEvents, AListenerMayReplaceItselfInItsOwnCall) {
    PlayThree();
    const auto second = std::make_shared<fake::RecordingListener>();
    auto first = std::make_shared<fake::RecordingListener>();
    timeline_->SetListener(first);
    std::weak_ptr<fake::RecordingListener> watched = first;
    first->on(kEventFirstPicture, [this, second] { timeline_->SetListener(second); });
    first.reset();
    engine_.post("p1", kEventFirstPicture);
    EXPECT_TRUE(second->waitFor(kEventStartDelay)) << "what follows goes to the new one";
    EXPECT_TRUE(watched.expired());
    timeline_->SetListener(listener_);
}

}  // namespace
}  // namespace vexo
