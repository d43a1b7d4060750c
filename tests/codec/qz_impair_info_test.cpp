#include "codec/qz_impair_info.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace vexo {
namespace {

/// The value of `key` in a text of `key:value&` pairs.
std::string valueOf(const std::string &text, const std::string &key) {
    const std::size_t begin = text.find(key + ":");
    if (begin == std::string::npos) return "none";
    const std::size_t value = begin + key.size() + 1;
    return text.substr(value, text.find('&', value) - value);
}

struct CurveCase {
    std::vector<int> levels;
    const char *points;
    const char *highest;
};

TEST(ImpairInfo, ACurveIsReducedToItsTurningPoints) {
    for (const CurveCase &test : {CurveCase{{4000}, "4000,0", "4000"},
                                  {{5000, 5000, -1}, "5000,0", "5000"},
                                  {{1000, 2000, 3000, 2500}, "1000,3000,2500,0", "3000"},
                                  {{3000, 1000, 0}, "3000,0", "3000"},
                                  {{9, 1, 5, 2, 5, 2, 5, 2, 5, 2, 5}, "1,5,2,5,2,5,2,5,2,5,0", "9"}}) {
        QZImpairInfo info;
        for (const int level : test.levels) info.onBufferLevel(level);
        const std::string text = info.getImpairInfoStr();
        const std::string points = valueOf(text, "bufInflectPoints");
        const std::string times = valueOf(text, "timeIntervForInflectPoints");
        EXPECT_EQ(points, test.points);
        EXPECT_EQ(valueOf(text, "maxBufLevelInMs"), test.highest);
        EXPECT_EQ(std::count(times.begin(), times.end(), ','), std::count(points.begin(), points.end(), ','));
        EXPECT_EQ(times.substr(0, 1), "0");
    }
}

TEST(ImpairInfo, SamplesComeEveryFiveSecondsUnlessForced_ScoredOverTheLastThirty) {
    QZImpairInfo info;
    info.onBufferLevel(-1);
    info.addBufferSample(-1, true);
    EXPECT_EQ(info.getImpairInfoStr() + info.getBufferSampleStr() + info.getScoreStr() + info.getRecentBitrateStr(),
              "");
    info.addBufferSample(300'000, false);
    info.addBufferSample(1'000, false);
    info.addBufferSample(0, true);
    EXPECT_EQ(info.getBufferSampleStr(), "300000,0");
    EXPECT_TRUE(info.getScoreStr().starts_with("100,"));
    EXPECT_FALSE(info.getScoreStr().ends_with(",100"));
    for (int i = 0; i < 30; ++i) info.addBufferSample(300'999, true);
    EXPECT_TRUE(info.getScoreStr().ends_with(",100"));
}

TEST(ImpairInfo, ScoresFollowStallsAndDistance) {
    EXPECT_DOUBLE_EQ(QZImpairInfo::computeScore(std::vector<int>(30, 300'000), false), 100.0);
    // 100 seconds short: d is 1, both sums are 1.
    EXPECT_DOUBLE_EQ(QZImpairInfo::computeScore({200'000}, false), 40.0 + 60.0 / 3.0);
    // Above 300 seconds nothing is added, the count is the same.
    EXPECT_DOUBLE_EQ(QZImpairInfo::computeScore({301'000, 200'000}, false), 40.0 + 60.0 / 2.0);
    // One stall: d is -3, so the sums are 9 and 81.
    EXPECT_DOUBLE_EQ(QZImpairInfo::computeScore({999}, false), (std::tanh(-1) + 1) * 40 + 60.0 / 91.0);
    // Weighted, the first sample weighs nothing and the second tanh(1).
    EXPECT_DOUBLE_EQ(QZImpairInfo::computeScore({0, 200'000}, true),
                     (std::tanh(-1) + 1) * 40 + 60.0 / (1.0 + std::tanh(1.0)));
}

}  // namespace
}  // namespace vexo
