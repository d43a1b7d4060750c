#include "input/timestamp_repair.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using oriplayer::TimestampRepair;

constexpr int64_t kNone = AV_NOPTS_VALUE;

/// Packets of 40 ms on tracks 0 and 1, times in ms.
struct Given {
    std::size_t track;
    int64_t ms;
    int64_t expectedMs;  // kNone: not to be placed
};

struct Case {
    const char *what;
    bool jumpsExpected;
    int64_t endMs;  // of the container, 0: not known
    std::vector<Given> packets;
};

void PrintTo(const Case &c, std::ostream *out) {
    *out << c.what;
}

class Repairing : public testing::TestWithParam<Case> {};

AVPacket packetAt(int64_t ms) {
    AVPacket packet{};
    packet.pts = packet.dts = ms;
    packet.duration = 40;
    return packet;
}

TEST_P(Repairing, TimesGoOnAsTheyShould) {
    TimestampRepair repair;
    const TimestampRepair::Track track{{1, 1000}, 40'000, true, false};
    repair.start(track, track, GetParam().jumpsExpected, GetParam().endMs ? GetParam().endMs * 1000 : INT64_MAX);
    for (std::size_t i = 0; i < GetParam().packets.size(); ++i) {
        const Given &given = GetParam().packets[i];
        AVPacket packet = packetAt(given.ms);
        EXPECT_EQ(repair.apply(packet, given.track), given.expectedMs != kNone) << i;
        if (given.expectedMs != kNone) {
            EXPECT_EQ(packet.dts, given.expectedMs * 1000) << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, Repairing,
    testing::Values(
        Case{"start anywhere", true, 0, {{0, 90'000'000, 90'000'000}, {0, 90'000'040, 90'000'040}}},
        Case{"a jump back heals both tracks alike, the late one too",
             true,
             0,
             {{0, 5000, 5000}, {1, 4900, 4900}, {0, 0, 5040}, {1, 4940, 4940}, {0, 40, 5080}, {1, 20, 5060}}},
        Case{"a jump far ahead", true, 0, {{0, 0, 0}, {1, 0, 0}, {0, 500'040, 40}, {1, 500'040, 40}, {0, 500'080, 80}}},
        Case{"a silent track is no jump while the other goes on",
             true,
             0,
             {{0, 0, 0}, {1, 0, 0}, {1, 9000, 9000}, {1, 18'000, 18'000}, {0, 18'000, 18'000}}},
        Case{"a gap where gaps may be meant", false, 0, {{0, 0, 0}, {0, 30'000, 30'000}}},
        Case{"a still picture for minutes inside the container", false, 600'000, {{0, 0, 0}, {0, 300'000, 300'000}}},
        Case{"far beyond the container's end", false, 10'000, {{0, 0, 0}, {0, 9'000'000, 40}, {0, 9'000'040, 80}}},
        Case{"a little backwards is left to the decoder", true, 0, {{0, 1000, 1000}, {0, 900, 900}}},
        Case{"missing times are counted on", true, 0, {{0, 1000, 1000}, {0, kNone, 1040}, {0, kNone, 1080}}},
        Case{"packets before the first time have no place", true, 0, {{0, kNone, kNone}, {0, 80, 80}}}));

TEST(TimestampRepairSeek, TheScaleHoldsBehindASeekOnEitherSideOfAJump) {
    TimestampRepair repair;
    const TimestampRepair::Track track{{1, 1000}, 40'000, true, false};
    repair.start(track, {}, true, INT64_MAX);
    for (const int64_t ms : {1000, 1040, 200, 240}) {
        AVPacket packet = packetAt(ms);
        ASSERT_TRUE(repair.apply(packet, 0));
    }
    EXPECT_EQ(repair.containerTime(1'120'000), 240'000);
    EXPECT_EQ(repair.containerTime(1'040'000), 1'040'000);
    repair.resume(1'120'000);
    AVPacket behind = packetAt(240);
    ASSERT_TRUE(repair.apply(behind, 0));
    EXPECT_EQ(behind.pts, 1'120'000);
    repair.restart();
    AVPacket first = packetAt(1000);
    ASSERT_TRUE(repair.apply(first, 0));
    EXPECT_EQ(first.pts, 1'000'000);
}

}  // namespace
