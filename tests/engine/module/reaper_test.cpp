#include "module/reaper.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace {

using oriplayer::Reaper;

struct Grave {
    std::thread::id thread;
    std::atomic<int> gone{0};
};

struct Thing {
    explicit Thing(Grave &in) : grave(in) {}
    ~Thing() {
        grave.thread = std::this_thread::get_id();
        ++grave.gone;
    }
    Grave &grave;
};

TEST(Reaper, LetsGoOnItsOwnThread_AndItsEndWaitsForAll) {
    Grave grave;
    {
        Reaper reaper;
        for (int i = 0; i < 10; ++i) reaper.bury(std::make_unique<Thing>(grave), std::make_shared<Thing>(grave));
    }
    EXPECT_EQ(grave.gone, 20);
    EXPECT_NE(grave.thread, std::this_thread::get_id());
}

TEST(Reaper, WhatItCannotTake_TheCallerLetsGoOf) {
    Grave grave;
    Reaper reaper;
    std::promise<void> begun;
    std::promise<void> held;
    reaper.offer([&begun, wait = held.get_future().share()] {
        begun.set_value();
        wait.wait();
    });
    ASSERT_EQ(begun.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    int waiting = 0;
    while (reaper.offer([] {}) && waiting < 1000) ++waiting;
    EXPECT_LT(waiting, 100) << "what waits is bounded";
    reaper.bury(std::make_unique<Thing>(grave));
    EXPECT_EQ(grave.gone, 1);
    EXPECT_EQ(grave.thread, std::this_thread::get_id());
    held.set_value();
    reaper.end();
    reaper.bury(std::make_unique<Thing>(grave));
    EXPECT_EQ(grave.gone, 2) << "behind its end as well";
}

}  // namespace
