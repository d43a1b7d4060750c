#include "looper/message_looper.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vexo {
namespace {

/// A looper whose worker is held in a task, so that what is sent waits together.
class HeldLooper {
public:
    HeldLooper() {
        Send(MSG_PRIO_HIGH, [this] {
            held_.set_value();
            release_.get_future().wait();
        });
        held_.get_future().wait();
    }

    void Send(MsgPrio priority, std::function<void()> task) { looper().SendMessage_({std::move(task)}, priority); }
    void Send(MsgPrio priority, const std::string &name) {
        Send(priority, [this, name] { order_ += name; });
    }
    MessageLooper &looper() { return *address_; }

    /// What has run by the time the looper is gone.
    std::string ReleaseAndDestroy() {
        release_.set_value();
        looper_.reset();
        return order_;
    }

private:
    std::promise<void> held_;
    std::promise<void> release_;
    std::string order_;  // the worker's, until it is joined
    std::unique_ptr<MessageLooper> looper_ = std::make_unique<MessageLooper>();
    MessageLooper *const address_ = looper_.get();  // for tasks that run while looper_ is being reset
};

struct OrderCase {
    const char *name;
    const char *sent;  // upper case urgent, lower case not, '!' Stop, '-' an empty task, '?' no known priority
    const char *run;
};
void PrintTo(const OrderCase &each, std::ostream *out) {
    *out << each.name;
}

class MessageLooperOrder : public ::testing::TestWithParam<OrderCase> {};

TEST_P(MessageLooperOrder, RunsInTheOrderOfTheQueue) {
    HeldLooper held;
    for (const char *step = GetParam().sent; *step; ++step) {
        if (*step == '!') {
            held.looper().Stop();
        } else if (*step == '-') {
            held.looper().SendMessage_(ThreadMessage(), MSG_PRIO_HIGH);
        } else if (*step == '?') {
            held.Send(static_cast<MsgPrio>(7), "?");
        } else {
            held.Send(*step <= 'Z' ? MSG_PRIO_HIGH : MSG_PRIO_LOW, std::string(1, *step));
        }
    }
    EXPECT_EQ(held.ReleaseAndDestroy(), GetParam().run);
}

INSTANTIATE_TEST_SUITE_P(Queue, MessageLooperOrder,
                         ::testing::Values(OrderCase{"UrgentNewestFirst", "ABC", "CBA"},
                                           OrderCase{"OthersOldestFirstBehindUrgentOnes", "aAbBc", "BAabc"},
                                           OrderCase{"EmptyTasksAreSkipped", "A-B", "BA"},
                                           OrderCase{"UnknownPrioritiesAreDropped", "A?b", "Ab"},
                                           OrderCase{"StopRunsWhatWaits", "aABbc!", "BAabc"},
                                           OrderCase{"UrgentOnesPassTheQuitMessage", "a!A", "Aa"},
                                           OrderCase{"WhatStandsBehindTheQuitMessageDoesNotRun", "a!bc", "a"},
                                           OrderCase{"TwoStopsEndOnce", "A!!B", "BA"}));

TEST(MessageLooper, ATaskMaySendToItsOwnLooper_AnUrgentOneRunsNext) {
    HeldLooper held;
    held.Send(MSG_PRIO_LOW, "b");
    held.Send(MSG_PRIO_HIGH, [&held] { held.Send(MSG_PRIO_HIGH, "A"); });
    EXPECT_EQ(held.ReleaseAndDestroy(), "Ab");
}

TEST(MessageLooper, SentToOneThatHasEnded_IsDestroyedUnrun) {
    auto looper = std::make_unique<MessageLooper>();
    looper->Stop();
    while (!looper->HasEnded()) std::this_thread::yield();
    auto token = std::make_shared<int>(0);
    bool ran = false;
    looper->SendMessage_({[token, &ran] { ran = true; }}, MSG_PRIO_HIGH);
    looper.reset();
    EXPECT_FALSE(ran);
    EXPECT_EQ(token.use_count(), 1);
}

}  // namespace
}  // namespace vexo
