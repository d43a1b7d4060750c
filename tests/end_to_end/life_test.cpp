#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>
#include <random>
#include <thread>

#include "end_to_end/programme.h"

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

/// Threads that end by themselves get a moment for it.
Resources settled(const Resources &wanted) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    Resources now = resources();
    while (now.threads > wanted.threads && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        now = resources();
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
    const unsigned cycles = kSanitized ? 40 : 200;
    Resources early{};
    for (unsigned cycle = 0; cycle <= cycles; cycle += 2) {
        std::thread beside(liveAndEnd, cycle);
        liveAndEnd(cycle + 1);
        beside.join();
        if (cycle == 20) early = settled({1, 0, 0});
    }
    const Resources late = settled(early);
    EXPECT_LE(late.threads, early.threads);
    EXPECT_LE(late.descriptors, early.descriptors);
    // Sanitizers keep freed memory for themselves.
    EXPECT_TRUE(kSanitized || late.bytes <= early.bytes + (1U << 20)) << early.bytes << " became " << late.bytes;
}

}  // namespace
}  // namespace end_to_end
