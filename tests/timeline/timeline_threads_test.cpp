// Many threads at once; worth most under the thread sanitizer.
#include <array>
#include <atomic>
#include <functional>
#include <future>
#include <thread>

#include "timeline/timeline_fixture.h"

namespace vexo {
namespace {

class TimelineThreads : public TimelineFixture {
protected:
    /// Runs `work` on a thread of its own, over and over, until the fixture's StopWork.
    void Work(std::function<void()> work) {
        workers_.emplace_back([this, work = std::move(work)] {
            while (!stop_work_) work();
        });
    }
    void StopWork() {
        stop_work_ = true;
        for (std::thread &worker : workers_) worker.join();
        workers_.clear();
    }

    std::atomic<bool> stop_work_{false};
    std::vector<std::thread> workers_;
};

TEST_F(TimelineThreads, QueriesAndSettingsWhileTheProgrammePlays) {
    engine_.autoPrepare = true;
    for (int i = 0; i < 40; ++i) Add("x");
    timeline_->Prepare();
    timeline_->Start();
    Work([this] {
        if (const auto player = timeline_->PeekActivePlayer()) player->isPlaying();
        timeline_->GetCurrentPosition(0);
        timeline_->GetPeriodCurrentPosition(0);
        timeline_->GetVideoWidth();
        timeline_->GetState();
    });
    Work([this] {
        timeline_->SetListener(std::make_shared<fake::RecordingListener>());
        timeline_->SetListener(listener_);
        timeline_->SetVolume(0.5f);
        timeline_->SetUserAgent("agent");
        timeline_->GetListener();
    });
    while (timeline_->GetState() != Timeline::kIdle) {  // every end moves on, be it told to anyone or not
        const std::string player = "p" + std::to_string(engine_.created());
        engine_.post(player, kEventVideoSize);
        engine_.post(player, kEventEnd);
        std::this_thread::yield();
    }
    StopWork();
    EXPECT_GE(engine_.created(), 40);
    EXPECT_LE(engine_.maxLiving(), 2) << "a query may hold the former player for a moment";
    timeline_->SetListener(listener_);
}

TEST_F(TimelineThreads, DestroyedWhileTheEngineSpeaks) {
    for (int round = 0; round < 20; ++round) {
        AddThree();
        timeline_->Prepare();
        timeline_->Start();
        const auto player = timeline_->GetActivePlayer();  // a control holds it
        const std::string name = "p" + std::to_string(engine_.created());
        std::thread engine([&] {
            for (int i = 0; i < 20; ++i) engine_.post(name, i % 3 == 0 ? kEventEnd : kEventFirstPicture);
        });
        timeline_.reset();
        engine.join();
        timeline_ = std::make_unique<Timeline>(0);
        timeline_->SetListener(listener_);
    }
}

TEST_F(TimelineThreads, ResetAndEditsWhileTheEngineSpeaks) {
    Work([this] { engine_.post("p" + std::to_string(engine_.created()), kEventEnd); });
    Work([this] { engine_.post("p" + std::to_string(engine_.created()), kEventPrepared); });
    for (int round = 0; round < 50; ++round) {
        AddThree();
        timeline_->Prepare();
        timeline_->Start();
        timeline_->RemoveBound(round % 3);
        timeline_->SeekTo(15000, 0);
        timeline_->ReplaceBound(MakePeriod({{"y", 1}}), nullptr, 0);
        timeline_->Reset();
        EXPECT_EQ(timeline_->GetDuration(), 0);
        EXPECT_EQ(timeline_->GetState(), Timeline::kIdle);
    }
    StopWork();
}

TEST_F(TimelineThreads, TwoTimelinesOfOnePlayer_EachHandlerResetsBoth) {
    const auto token = std::make_shared<const CallbackToken>();
    for (int round = 0; round < 20; ++round) {
        engine_.reset();
        std::array<std::unique_ptr<Timeline>, 2> timelines{std::make_unique<Timeline>(0, token),
                                                           std::make_unique<Timeline>(1, token)};
        const auto listener = std::make_shared<fake::RecordingListener>();
        listener->on(kEventEnd, [&timelines] {
            for (const auto &timeline : timelines) timeline->Reset();
        });
        for (const auto &timeline : timelines) {
            timeline->SetListener(listener);
            timeline->AddBound(MakePeriod({{"a", 1}}), nullptr);
            timeline->Prepare();
        }
        std::thread first([this] { engine_.post("p1", kEventEnd); });
        engine_.post("p2", kEventEnd);
        first.join();
        ASSERT_TRUE(listener->waitFor(kEventEnd));
        timelines[0]->Reset();  // joins what the handlers kept aside
        timelines[1]->Reset();
        EXPECT_EQ(engine_.living(), 0);
    }
}

TEST_F(TimelineThreads, ResetsInCallbacksOneAfterTheOther_EachSourcePlays) {
    engine_.autoPrepare = true;
    constexpr int kSources = 200;
    std::promise<void> done;
    int played = 0;
    listener_->on(kEventPrepared, [&] {  // the next source is set from inside the callback, for ever
        if (++played == kSources) {
            done.set_value();
            return;
        }
        timeline_->Reset();
        Add("x");
        timeline_->Prepare();
        timeline_->Start();
    });
    Add("x");
    timeline_->Prepare();
    EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    timeline_->Reset();
    EXPECT_EQ(engine_.created(), kSources);
    EXPECT_EQ(engine_.maxLiving(), 1);
}

TEST_F(TimelineThreads, AResetThatACallbackOvertakes_LeavesWhatTheCallbackSet) {
    PlayThree();
    std::promise<void> inside;
    const int before = listener_->count(kBarrier);
    listener_->on(kEventEnd, [&] {
        inside.set_value();
        // This looper is held here: a notice is heard only once the other thread's Reset has put in a new one.
        while (listener_->count(kBarrier) == before) {
            timeline_->PostMessage_(0, kBarrier, 0, 0, oriplayer::Param());
            std::this_thread::yield();
        }
        timeline_->Reset();
        Add("d");
        timeline_->Prepare();
    });
    engine_.post("p1", kEventEnd);
    inside.get_future().wait();
    timeline_->Reset();
    EXPECT_EQ(CurrentUrl(), "d");
    EXPECT_EQ(engine_.living(), 1);
}

}  // namespace
}  // namespace vexo
