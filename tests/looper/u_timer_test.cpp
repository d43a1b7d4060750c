#include "looper/u_timer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <semaphore>
#include <thread>

namespace vexo {
namespace {

using namespace std::chrono_literals;

void release(void *semaphore) {
    static_cast<std::counting_semaphore<> *>(semaphore)->release();
}

TEST(UTimer, FiresAgainAndAgain_StopsAndResumes) {
    std::counting_semaphore<> fired(0);
    UTimer timer(&release, &fired, 50001);
    timer.Start();
    timer.Start();
    EXPECT_TRUE(fired.try_acquire_for(30s) && fired.try_acquire_for(30s));
    timer.Stop();
    while (fired.try_acquire()) {}
    EXPECT_FALSE(fired.try_acquire_for(150ms));
    timer.Start();
    EXPECT_TRUE(fired.try_acquire_for(30s));
}

TEST(UTimer, AnIntervalWithinTheStepDisablesIt_AndNoFunctionToo) {
    std::counting_semaphore<> fired(0);
    UTimer tooShort(&release, &fired, 50000);
    UTimer empty(nullptr, &fired, 60000);
    tooShort.Start();
    empty.Start();
    EXPECT_FALSE(fired.try_acquire_for(150ms));
}

TEST(UTimer, TheThreadEndsWithTheLastTimerAndComesBack) {
    for (int round = 0; round < 3; ++round) {
        std::counting_semaphore<> first(0);
        std::counting_semaphore<> second(0);
        UTimer never(&release, &first, 60000);
        auto one = std::make_unique<UTimer>(&release, &first, 60000);
        UTimer two(&release, &second, 60000);
        one->Start();
        two.Start();
        EXPECT_TRUE(first.try_acquire_for(30s));
        one.reset();  // behind it no call of its own, the other goes on
        while (first.try_acquire()) {}
        while (second.try_acquire()) {}
        EXPECT_TRUE(second.try_acquire_for(30s));
        EXPECT_FALSE(first.try_acquire());
    }
}

// Destroyed after everything else of the process.
struct Last {
    std::atomic<bool> inCallback{false};
    std::atomic<bool> destroyed{false};
    ~Last() {
        if (!inCallback) return;
        destroyed = true;
        std::this_thread::sleep_for(150ms);  // the timers' thread has gone on by then
    }
};
Last last __attribute__((init_priority(101)));

TEST(UTimerDeathTest, ACallbackMayStillRunWhenTheProcessEnds) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto end = [] {
        const auto callback = [](void *) {
            last.inCallback = true;
            while (!last.destroyed) std::this_thread::yield();
        };
        for (int i = 0; i < 2; ++i) (new UTimer(callback, nullptr, 60000))->Start();
        while (!last.inCallback) std::this_thread::yield();
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vexo
