#include "looper/timed_message_looper.h"

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>

namespace vexo {
namespace {

using namespace std::chrono_literals;

class TimedLooper : public testing::Test {
protected:
    void send(std::function<void()> task, int64_t delayMs) {
        TimedThreadMessage message;
        message.task = std::move(task);
        looper_->SendMessage(message, delayMs);
    }
    void note(const char *name, int64_t delayMs) {
        send([this, name] { log_ += name; }, delayMs);
    }
    /// Waits until the looper has done what falls due within `delayMs`, then answers what ran.
    std::string logAfter(int64_t delayMs) {
        std::promise<void> done;
        send([&] { done.set_value(); }, delayMs);
        EXPECT_EQ(done.get_future().wait_for(30s), std::future_status::ready);
        return log_;
    }

    /// Keeps the worker in a task until release_, so that what is sent waits together.
    void hold() {
        send([this] { release_.get_future().wait_for(30s); }, 0);
    }

    std::promise<void> release_;
    std::string log_;  // written by the worker, read when it is quiet
    std::unique_ptr<TimedMessageLooper> looper_ = std::make_unique<TimedMessageLooper>();
};

TEST_F(TimedLooper, RunsInTheOrderOfTimes_NotBeforeThem) {
    const auto begin = std::chrono::system_clock::now();
    send([&] { EXPECT_GE(std::chrono::system_clock::now() - begin, 60ms); }, 60);
    note("c", 60);
    note("a", 20);
    note("b", 40);
    EXPECT_EQ(logAfter(80), "abc");
}

TEST_F(TimedLooper, DueMessagesRunOldestFirst_EmptyOnesAreSkipped_StopRunsWhatIsDueAlone) {
    hold();
    for (const char *name : {"1", "2"}) note(name, -5);
    send(nullptr, 0);
    note("3", 0);
    looper_->Stop();
    note("never", 3'600'000);
    release_.set_value();
    looper_.reset();
    EXPECT_EQ(log_, "123");
}

TEST_F(TimedLooper, StopEndsASleepOfAnHour) {
    note("never", 3'600'000);
    std::this_thread::sleep_for(20ms);  // the worker is asleep for the hour; the claim holds without it as well
    looper_->Stop();
    looper_.reset();
    EXPECT_EQ(log_, "");
}

TEST_F(TimedLooper, DelaysBeyondTheClocksRangeAreCut) {
    note("never", INT64_MAX);
    hold();
    note("long ago", INT64_MIN);
    release_.set_value();
    looper_->Stop();
    looper_.reset();
    EXPECT_EQ(log_, "long ago");
}

TEST_F(TimedLooper, ClearMessagesDropsWhatWaits) {
    hold();
    note("dropped", 0);
    looper_->ClearMessages();
    release_.set_value();
    EXPECT_EQ(logAfter(0), "");
}

}  // namespace
}  // namespace vexo
