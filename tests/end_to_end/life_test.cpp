#include <gtest/gtest.h>
#include <malloc.h>

#include <climits>
#include <filesystem>
#include <random>
#include <thread>

#include "end_to_end/programme.h"
#include "support/eventually.h"

namespace end_to_end {
namespace {

using support::clip;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

struct Resources {
    long threads;
    long descriptors;
    std::size_t bytes;
};

long entries(const char *directory) {
    return std::distance(std::filesystem::directory_iterator(directory), std::filesystem::directory_iterator());
}

Resources resources() {
    const auto memory = mallinfo2();
    return {entries("/proc/self/task"), entries("/proc/self/fd"), memory.uordblks + memory.hblkhd};
}

/// After the threads that are about to end have ended.
Resources settled() {
    Resources now = resources();
    for (long before = LONG_MAX; now.threads < before; now = resources()) {
        before = now.threads;
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    return now;
}

/// Opened, commanded from two threads, and gone, all at moments that the seed chooses.
void liveAndEnd(unsigned seed) {
    std::mt19937 random(seed);
    const auto pause = [&] { std::this_thread::sleep_for(std::chrono::microseconds(random() % 20'000)); };
    const auto player = vexo::MixedCodecsPlayer::create();
    player->setListener(std::make_shared<Events>());
    player->setDataSource(
        componentsOf({clip("h264_aac.mp4"), "/no/such/file", clip("vp9_opus.webm")}, Layout::kPeriods), 1, nullptr);
    player->prepareAsync();
    player->start();
    pause();
    player->setLooping(random() % 4 == 0);
    if (random() % 3 == 0) player->seekTo(static_cast<int>(random() % 2'000), 0);
    std::thread other([&player, step = random() % 4] {
        if (step == 0) player->goNext(false);
        if (step == 1) player->stop(true);
        if (step == 2) player->pause();
        if (step == 3) player->setDataSource({}, 1, nullptr);
    });
    pause();
    other.join();
    if (random() % 2 == 0) player->stop(true);
}

TEST(Life, EndsAtAnyMomentOnAnyThreadAndLeavesNothingBehind) {
    {
        Programme programme(Pace::kTimed);  // opens the sound device, which stays open
        programme.play({clip("h264_aac.mp4"), clip("vp9_opus.webm")});
        ASSERT_TRUE(programme.waitFor("1001@000100"));
    }
    const unsigned cycles = kSanitized ? 40 : 200;
    Resources early{};
    for (unsigned cycle = 0; cycle <= cycles; cycle += 2) {
        std::thread beside(liveAndEnd, cycle);
        liveAndEnd(cycle + 1);
        beside.join();
        if (cycle == 20) early = settled();
    }
    Resources late{};
    EXPECT_TRUE(support::eventually([&] {
        late = resources();
        // Sanitizers keep freed memory for themselves.
        return late.threads <= early.threads && late.descriptors <= early.descriptors &&
               (kSanitized || late.bytes <= early.bytes + (1U << 20));
    })) << early.threads
        << " threads became " << late.threads << ", " << early.descriptors << " descriptors " << late.descriptors
        << ", " << early.bytes << " bytes " << late.bytes;
}

}  // namespace
}  // namespace end_to_end
