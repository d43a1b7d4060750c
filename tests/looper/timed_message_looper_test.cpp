#include "looper/timed_message_looper.h"

#include <gtest/gtest.h>

#include <future>
#include <string>

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
        EXPECT_EQ(done.get_future().wait_for(10s), std::future_status::ready);
        return log_;
    }

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

TEST_F(TimedLooper, DueMessagesRunOldestFirst_EmptyOnesAreSkipped) {
    std::promise<void> go;
    send([&] { go.get_future().wait_for(10s); }, 0);
    note("1", -5);
    send(nullptr, 0);
    note("2", 0);
    note("3", 0);
    go.set_value();
    EXPECT_EQ(logAfter(0), "123");
}

TEST_F(TimedLooper, StopEndsASleepOfAnHour_AndRunsWhatIsDue) {
    note("never", 3'600'000);
    std::this_thread::sleep_for(20ms);  // the worker is asleep for the hour; the claim holds without it as well
    looper_->Stop();
    looper_.reset();
    EXPECT_EQ(log_, "");
}

TEST_F(TimedLooper, StopBehindWaitingMessages_RunsThoseFirst) {
    std::promise<void> go;
    send([&] { go.get_future().wait_for(10s); }, 0);
    for (const char *name : {"1", "2", "3"}) note(name, 0);
    looper_->Stop();
    note("dropped", 3'600'000);
    go.set_value();
    looper_.reset();
    EXPECT_EQ(log_, "123");
}

TEST_F(TimedLooper, ClearMessagesDropsWhatWaits) {
    std::promise<void> go;
    send([&] { go.get_future().wait_for(10s); }, 0);
    note("dropped", 0);
    looper_->ClearMessages();
    go.set_value();
    EXPECT_EQ(logAfter(0), "");
}

}  // namespace
}  // namespace vexo
