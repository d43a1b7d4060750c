#include "end_to_end/programme.h"

#include <gtest/gtest.h>

namespace end_to_end {
namespace {

using support::clip;
using support::expected;

std::vector<std::string> clips(const std::vector<std::string> &names) {
    std::vector<std::string> paths;
    for (const auto &name : names) paths.push_back(clip(name));
    return paths;
}

struct Items {
    const char *name;
    Layout layout;
    std::vector<std::string> clips;
    std::vector<std::string> events;  ///< told once for each bound; those that wait together may come in any order
};
void PrintTo(const Items &each, std::ostream *out) {
    *out << each.name;
}

const std::vector<std::string> kFiveCodecs{"h264_aac.mp4", "hevc_aac.mkv", "vp9_opus.webm", "av1_opus.mkv",
                                           "mpeg2_mp2.ts"};
const std::vector<std::string> kTenKinds{"audio_only.ogg",   "video_only.mp4", "vfr.mkv", "audio_only.mp3",
                                         "odd_size.mkv",     "size_change.ts", "wrap.ts", "interlaced.ts",
                                         "sound_longer.mkv", "bframes.mkv"};

// A first picture (1017) waits beside the end behind it on a busy machine, and the one told last takes the next bound's
// identity then.
const std::vector<std::string> kBoundEvents{"1000", "1001"};

class WholeProgramme : public testing::TestWithParam<Items> {};

TEST_P(WholeProgramme, EachBoundHasItsPicturesAndItsEvents) {
    const auto &[name, layout, names, events] = GetParam();
    std::vector<std::string> bounds;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string number = std::to_string(i);
        bounds.push_back(layout == Layout::kMixed ? "@00000" + number : "@000" + number + "00");
    }
    Programme programme(Pace::kUntimed);
    programme.play(clips(names), layout);
    ASSERT_TRUE(programme.waitFor("1001" + bounds.back())) << programme.events->told({"1000", "501"});
    for (const std::string &event : events) {
        std::string each;
        for (const std::string &bound : bounds) each += (each.empty() ? "" : " ") + event + bound;
        EXPECT_EQ(programme.events->told({event}), each);
    }
    EXPECT_EQ(programme.events->told({"501", "502", "503", "504"}), "");
    auto shown = programme.shown();
    for (const auto &one : names) {
        if (expected(one).pictures == 0) continue;
        ASSERT_FALSE(shown.empty()) << one;
        EXPECT_EQ(static_cast<int>(shown.front().numbers.size()), expected(one).pictures) << one;
        EXPECT_EQ(shown.front().md5, expected(one).md5) << one;
        shown.erase(shown.begin());
    }
    EXPECT_TRUE(shown.empty());
}

INSTANTIATE_TEST_SUITE_P(Programmes, WholeProgramme,
                         testing::Values(Items{"FivePeriods", Layout::kPeriods, kFiveCodecs, kBoundEvents},
                                         Items{"OneMixedPeriod", Layout::kMixed, kFiveCodecs, kBoundEvents},
                                         Items{"EveryKindOfClip", Layout::kPeriods, kTenKinds, {"1001"}}));

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
        int64_t positionMs;
    };
    std::size_t bounds = 1;
    for (const Case &one : {Case{4'420, 0, 85, 4'400},
                            {11'520, 0, 13, 11'520},
                            {7'900, 1, 150, 7'000},
                            {200, 0, 5, 200},
                            {5'430, 0, 110, 5'400},
                            {520, 1, 10, 400}}) {
        SCOPED_TRACE(testing::Message() << one.seekMs << " mode " << one.mode);
        programme.player->seekTo(one.seekMs, one.mode);
        ++bounds;
        ASSERT_TRUE(programme.screen->wait([&](const auto &shown) { return shown.size() == bounds; }));
        programme.player->pause();
        EXPECT_EQ(programme.shown().back().numbers.front(), one.number);
        EXPECT_EQ(programme.duration(), 12'000);
        EXPECT_GE(programme.position(), one.positionMs);
        EXPECT_LT(programme.position(), one.positionMs + 1'000);  // it plays on until the pause
        programme.player->start();
    }
    EXPECT_EQ(programme.events->told({"501", "502", "503", "504"}), "");
}

}  // namespace
}  // namespace end_to_end
