#include "playback/hand_over.h"

#include <gtest/gtest.h>

#include "playback/play_clock.h"

namespace oriplayer {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(HandOver, IsTakenOnce_ByAPlayerMadeBehindTheEnd_ThatIsReadyAtOnce) {
    const auto end = steady_clock::now();
    HandOver handOver;
    EXPECT_FALSE(handOver.takeOver(end, end)) << "nothing has ended";
    handOver.ended(end);
    EXPECT_FALSE(handOver.takeOver(end - milliseconds(1), end + milliseconds(2))) << "it played beside the other";
    EXPECT_FALSE(handOver.takeOver(end + milliseconds(1), end + HandOver::kMost + milliseconds(1))) << "a break";
    EXPECT_EQ(handOver.takeOver(end + milliseconds(1), end + milliseconds(2)), end);
    EXPECT_FALSE(handOver.takeOver(end + milliseconds(1), end + milliseconds(2))) << "taken";
}

TEST(HandOver, TimeBeginsWhereThePlayerBeforeEnded_ButNotBehindAPause) {
    AudioRenderer silent;
    PlayClock clock(silent);
    const std::atomic<bool> wanted{true};
    const auto hourAgo = steady_clock::now() - std::chrono::hours(1);
    constexpr int64_t kHourUs = 3'600'000'000;
    clock.setTo(0, 1);
    ASSERT_TRUE(clock.run(wanted, false, hourAgo));
    EXPECT_GE(clock.nowUs(), kHourUs);
    clock.hold();
    ASSERT_TRUE(clock.run(wanted, false, hourAgo));
    EXPECT_LT(clock.nowUs(), kHourUs + kHourUs / 2);
}

}  // namespace
}  // namespace oriplayer
