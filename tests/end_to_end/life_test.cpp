#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
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
    long kib;
};

long entries(const char *directory) {
    return std::distance(std::filesystem::directory_iterator(directory), std::filesystem::directory_iterator());
}

Resources resources() {
    long total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return {entries("/proc/self/task"), entries("/proc/self/fd"), resident * 4};
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

TEST(Life, TwoHundredPlayersLeaveNothingBehind) {
    Resources early{};
    const int cycles = kSanitized ? 40 : 200;
    for (int cycle = 0; cycle <= cycles; ++cycle) {
        {
            Programme programme(Pace::kUntimed);
            programme.play({clip("video_only.mp4"), clip("vp9_opus.webm")}, Layout::kMixed);
            ASSERT_TRUE(programme.screen->wait([](const auto &shown) { return shown.size() == 2; }))
                << cycle << ": " << programme.events->told({"1000", "1017", "1001", "501", "502", "503"});
        }
        if (cycle == 20) early = settled({1, 0, 0});
    }
    const Resources late = settled(early);
    EXPECT_LE(late.threads, early.threads);
    EXPECT_LE(late.descriptors, early.descriptors);
    // Sanitizers keep freed memory for themselves.
    EXPECT_TRUE(kSanitized || late.kib <= early.kib + 4096) << early.kib << " KiB became " << late.kib;
}

TEST(Life, EndsAtAnyMomentOnAnyThread) {
    oriplayer::setProperty(oriplayer::kPropertyUntimed, nullptr);
    const std::vector<std::string> urls = {clip("h264_aac.mp4"), "/no/such/file", clip("vp9_opus.webm")};
    const auto live = [&](unsigned seed) {
        std::mt19937 random(seed);
        const auto pause = [&] { std::this_thread::sleep_for(std::chrono::microseconds(random() % 30'000)); };
        for (int i = 0; i < 12; ++i) {
            auto player = vexo::MixedCodecsPlayer::create();
            player->setListener(std::make_shared<Events>());
            player->setDataSource(componentsOf(urls, Layout::kPeriods), 1, nullptr);
            player->prepareAsync();
            player->start();
            pause();
            if (i % 3 == 0) player->seekTo(static_cast<int>(random() % 2'000), 0);
            std::thread other([&player, step = i % 4] {
                if (step == 0) player->goNext(false);
                if (step == 1) player->stop(true);
                if (step == 2) player->pause();
                if (step == 3) player->setDataSource({}, 1, nullptr);
            });
            pause();
            other.join();
            if (i % 2) player->stop(true);
        }
    };
    std::thread one(live, 1), two(live, 2);
    one.join();
    two.join();
}

}  // namespace
}  // namespace end_to_end
