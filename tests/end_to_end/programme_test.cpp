#include "end_to_end/programme.h"

#include <gtest/gtest.h>

#include <thread>

namespace end_to_end {
namespace {

using support::clip;
using support::expected;

const std::vector<std::string> kFiveCodecs = {"h264_aac.mp4", "hevc_aac.mkv", "vp9_opus.webm", "av1_opus.mkv",
                                              "mpeg2_mp2.ts"};

std::vector<std::string> clips(const std::vector<std::string> &names) {
    std::vector<std::string> paths;
    for (const auto &name : names) paths.push_back(clip(name));
    return paths;
}

class WholeProgramme : public testing::TestWithParam<Layout> {};

TEST_P(WholeProgramme, EachBoundHasItsPicturesAndItsEvents) {
    Programme programme(Pace::kUntimed);
    programme.give(clips(kFiveCodecs), GetParam());
    programme.player->prepareAsync();
    programme.player->start();
    const bool mixed = GetParam() == Layout::kMixed;
    ASSERT_TRUE(programme.waitFor(mixed ? "1001@000004" : "1001@000400")) << programme.events->told({"1000", "501"});
    // Each once for each bound; those that wait together may come in any order.
    for (const char *number : {"1000", "1017", "1001"}) {
        std::string each;
        for (int i = 0; i < 5; ++i) {
            each += std::string(i ? " " : "") + number + (mixed ? "@00000" : "@000") + std::to_string(i);
            if (!mixed) each += "00";
        }
        EXPECT_EQ(programme.events->told({number}), each);
    }
    EXPECT_EQ(programme.events->told({"501", "502", "503", "504"}), "");
    const auto shown = programme.shown();
    ASSERT_EQ(shown.size(), 5u);
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(static_cast<int>(shown[i].numbers.size()), expected(kFiveCodecs[i]).pictures) << kFiveCodecs[i];
        EXPECT_EQ(shown[i].md5, expected(kFiveCodecs[i]).md5) << kFiveCodecs[i];
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, WholeProgramme, testing::Values(Layout::kPeriods, Layout::kMixed),
                         [](const auto &layout) {
                             return std::string(layout.param == Layout::kMixed ? "OneMixedPeriod" : "FivePeriods");
                         });

TEST(OneProgramme, EveryKindOfClipIsLeftForTheNext) {
    std::vector<std::string> names = {"audio_only.ogg",   "video_only.mp4", "vfr.mkv", "audio_only.mp3",
                                      "odd_size.mkv",     "size_change.ts", "wrap.ts", "interlaced.ts",
                                      "sound_longer.mkv", "bframes.mkv"};
    Programme programme(Pace::kUntimed);
    programme.give(clips(names));
    programme.player->prepareAsync();
    programme.player->start();
    ASSERT_TRUE(programme.waitFor("1001@000900"));
    const auto shown = programme.shown();
    std::size_t next = 0;
    for (const auto &name : names) {
        if (expected(name).pictures == 0) continue;
        ASSERT_LT(next, shown.size()) << name;
        EXPECT_EQ(static_cast<int>(shown[next].numbers.size()), expected(name).pictures) << name;
        EXPECT_EQ(shown[next].md5, expected(name).md5) << name;
        ++next;
    }
}

TEST(OneProgramme, TimesAreSummedOverBounds_SeeksLandOnThePicture) {
    // 1 s, 10 s and 1 s; 25 pictures a second, a key frame every 10 and every 50 pictures.
    const std::vector<std::string> names = {"h264_aac.mp4", "numbered.mp4", "video_only.mp4"};
    Programme programme(Pace::kTimed);
    programme.give(clips(names), Layout::kMixed);
    EXPECT_EQ(programme.duration(), 12'000);
    EXPECT_EQ(programme.position(), 0);
    programme.player->prepareAsync();
    ASSERT_TRUE(programme.waitFor("1000@000000"));
    programme.player->start();
    ASSERT_TRUE(programme.screen->wait([](const auto &shown) { return !shown.empty(); }));
    struct Case {
        int seekMs;
        int mode;
        int number;
        int bound;
        int64_t positionMs;
    };
    const Case cases[] = {{4'420, 0, 85, 1, 4'400}, {11'520, 0, 13, 2, 11'520}, {7'900, 1, 150, 1, 7'000},
                          {200, 0, 5, 0, 200},      {5'430, 0, 110, 1, 5'400},  {520, 1, 10, 0, 400}};
    int bounds = 1;
    for (const Case &one : cases) {
        SCOPED_TRACE(testing::Message() << one.seekMs << " mode " << one.mode);
        programme.player->seekTo(one.seekMs, one.mode);
        ++bounds;
        ASSERT_TRUE(
            programme.screen->wait([&](const auto &shown) { return static_cast<int>(shown.size()) == bounds; }));
        programme.player->pause();
        EXPECT_EQ(programme.shown().back().numbers.front(), one.number);
        EXPECT_EQ(programme.duration(), 12'000);
        EXPECT_GE(programme.position(), one.positionMs);
        EXPECT_LT(programme.position(), one.positionMs + 1'000);  // it plays on until the pause
        programme.player->start();
    }
    EXPECT_EQ(programme.events->told({"501", "502", "503", "504"}), "");
}

TEST(OneProgramme, BrokenItemsAreLeftWithGoNext_TheRestPlaysOn) {
    Programme programme(Pace::kUntimed);
    programme.events->onEvent = [&](const std::string &event) {
        if (event.starts_with("50")) programme.player->goNext(false);
    };
    programme.give({"/no/such/file.mp4", clip("h264_aac.mp4"), "/dev/null", clip("vp9_opus.webm")});
    programme.player->prepareAsync();
    programme.player->start();
    ASSERT_TRUE(programme.waitFor("1001@000300")) << programme.events->told({"501", "502", "1000", "1001"});
    EXPECT_EQ(programme.events->told({"501", "1000", "1001"}),
              "501@000000 1000@000100 1001@000100 501@000200 1000@000300 1001@000300");
    ASSERT_EQ(programme.shown().size(), 2u);
    EXPECT_EQ(programme.shown()[1].md5, expected("vp9_opus.webm").md5);
}

TEST(IsolatedTimeline, PlaysInPlaceOfTheMainOneAndGivesBack) {
    Programme programme(Pace::kTimed);
    programme.give({clip("numbered.mp4")});
    programme.player->prepareAsync();
    ASSERT_TRUE(programme.waitFor("1000@000000"));
    programme.player->start();
    ASSERT_TRUE(programme.waitFor("1017@000000"));
    const int mainPlayer = programme.player->getActiveID();
    programme.player->addPeriod(1, -1, periodOf({clip("video_only.mp4")}), nullptr);
    programme.player->prepareAsync(1);
    ASSERT_TRUE(programme.waitFor("1000@010000"));
    programme.player->start(1);
    EXPECT_EQ(programme.player->getActiveIndex(), 1);
    EXPECT_EQ(programme.duration(), 1'000) << "the isolated programme's";
    ASSERT_TRUE(programme.waitFor("1001@010000"));
    // The hand-over is the player's own answer to that event, behind the application's.
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!programme.player->isPlaying() && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
    EXPECT_EQ(programme.player->getActiveIndex(), 0);
    EXPECT_TRUE(programme.player->isPlaying());
    EXPECT_EQ(programme.duration(), 10'000);
    EXPECT_LT(programme.position(), 5'000) << "it stood meanwhile";
    EXPECT_NE(mainPlayer, -1);
    EXPECT_EQ(programme.events->told({"501", "502", "503", "1001"}), "1001@010000");
}

}  // namespace
}  // namespace end_to_end
