// Resets that meet each other; queries and edits of several threads run beside the random edits of a player.
#include <array>
#include <future>
#include <thread>

#include "timeline/timeline_fixture.h"

namespace vexo {
namespace {

using TimelineThreads = TimelineFixture;

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

TEST_F(TimelineThreads, AResetThatACallbackOvertakes_LeavesWhatTheCallbackSet) {
    PlayThree();
    std::promise<void> inside;
    listener_->on(kEventEnd, [&] {
        inside.set_value();
        for (int i = 0; i < 1000; ++i) std::this_thread::yield();  // usually the other Reset waits for us by now
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
