#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <numeric>
#include <set>

#include "engine/playback/loopback_server.h"
#include "engine/playback/watched_player.h"
#include "input/line_speed.h"
#include "input/source_input.h"

namespace test {
namespace {

using namespace oriplayer;
using support::clip;

constexpr int kSegments = 6;
constexpr int kPictures = 25 * kSegments;
constexpr int kLowWidth = 160;
constexpr int kHighWidth = 320;

/// A set of two variants, declared as 200 and 600 kbit/s. It sends some segments with 240 kbit/s. The others count as
/// fast if they arrive within 160 ms, which a loaded machine needs.
class VariantServer : public LoopbackServer {
public:
    explicit VariantServer(const std::set<int> &slowSegments) {
        on("/set.m3u8", answer("#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=200000\nvariant_low.m3u8\n"
                               "#EXT-X-STREAM-INF:BANDWIDTH=600000\n/variant_high.m3u8\n"));
        for (const char *name : {"variant_low", "variant_high"}) {
            for (const int each : slowSegments) {
                const std::string file = name + std::to_string(each) + ".ts";
                on('/' + file, [file](const Connection &connection) {
                    Film film(clipBytes(file));
                    film.pauseMs = 50;
                    film(connection);
                });
            }
        }
    }
    std::string set() const { return url("/set.m3u8"); }
    /// Each time that it is asked for, a list shows one segment more.
    void grow() {
        for (const std::string name : {"/variant_low.m3u8", "/variant_high.m3u8"}) {
            on(name, [asked = asked_, name](const Connection &connection) {
                const std::string whole = clipBytes(name.substr(1));
                const int shown = std::min(kSegments, 3 + (*asked)++);
                std::size_t end = 0;
                for (int i = 0; i < shown; ++i) end = whole.find(".ts", end) + 4;
                answer(shown == kSegments ? whole : whole.substr(0, end))(connection);
            });
        }
    }

private:
    const std::shared_ptr<std::atomic<int>> asked_ = std::make_shared<std::atomic<int>>(0);
};

TEST(LineSpeed, WhatArrivedDuringAPauseDoesNotCount) {
    struct Read {
        int afterMs;  ///< of doing something else
        int ms;
        int bytes;
    };
    const std::vector<Read> steady(5, {5, 80, 10'000});  // 1 Mbit/s
    const struct {
        const char *name;
        std::vector<Read> reads;
        double bitsPerSecond;
    } cases[] = {{"nothing more", {}, 1e6},
                 {"what is already there", {{400, 0, 32'768}, {0, 0, 17'000}}, 1e6},
                 {"more than that speed can have brought", {{400, 0, 200'000}}, 250'000 * 8 / 0.82},
                 {"then the line again", {{400, 0, 32'768}, {0, 0, 17'000}, {5, 80, 10'000}}, 1e6},
                 {"without a pause", {{5, 0, 50'000}}, 2e6}};
    for (const auto &each : cases) {
        LineSpeed speed;
        LineSpeed::Time now;
        std::vector<Read> reads = steady;
        reads.insert(reads.end(), each.reads.begin(), each.reads.end());
        for (const Read &read : reads) {
            const auto begin = now + std::chrono::milliseconds(read.afterMs);
            now = begin + std::chrono::milliseconds(read.ms);
            speed.addRead(begin, now, read.bytes);
        }
        speed.endPiece();
        EXPECT_NEAR(speed.bitsPerSecond(), each.bitsPerSecond, 1.0) << each.name;
    }
}

TEST(Variants, FollowTheSpeedUpAndDownWithEveryPictureOnce) {
    const PropertyGuard untimed(kPropertyUntimed, "1");
    LineSpeed::forgetAll();  // it begins with the one that is named first
    VariantServer server({2, 3});
    WatchedPlayer player({server.set()});
    ASSERT_TRUE(player.playToEnd()) << player.events();
    std::vector<int> all(kPictures);
    std::iota(all.begin(), all.end(), 0);
    EXPECT_EQ(player.numbers(), all);
    const Param state = player.parameter(1610);
    const int expected[kSegments] = {kLowWidth, kHighWidth, kHighWidth, kLowWidth, kLowWidth, kHighWidth};
    for (int i = 0; i < kPictures; ++i) {
        ASSERT_EQ(player.pictures()[static_cast<std::size_t>(i)].width, expected[i / 25]) << i;
    }
    const std::map<int, std::pair<int, const char *>> known{
        {1, {1, "on demand"}},    {2, {0, "start"}}, {20, {1, "top"}}, {29, {0, "no third"}}, {30, {3, "seconds high"}},
        {31, {3, "seconds low"}}, {36, {1, "down"}}, {37, {2, "up"}},  {38, {2, "variants"}}};
    for (const auto &[index, value] : known) EXPECT_EQ(state.getInt32(index), value.first) << value.second;
    EXPECT_EQ(player.parameter(3904).getInt32(-1), 1);
    EXPECT_EQ(player.ear->lines, 0) << "FFmpeg has nothing to say about it";

    WatchedPlayer plain({clip("video_only.mp4")});
    ASSERT_TRUE(plain.playToEnd());
    Param none;
    EXPECT_EQ(plain->getParameter(1610, &none, -1), -1);
    EXPECT_EQ(plain->getParameter(3904, &none, -1), -1);
}

/// Reads to the end: pictures of 40 ms without a gap, sound with none that could be heard. Where it began.
int64_t readThrough(SourceInput &input) {
    std::vector<int64_t> pictures;
    int64_t soundEndUs = INT64_MIN;
    PacketPtr packet(av_packet_alloc());
    SourceInput::Stream stream = SourceInput::Stream::kVideo;
    while (input.read(packet.get(), stream) == 0) {
        if (stream == SourceInput::Stream::kVideo) {
            pictures.push_back(packet->pts);
        } else {
            if (soundEndUs != INT64_MIN) {
                EXPECT_LT(std::abs(packet->pts - soundEndUs), 1000) << packet->pts;
            }
            soundEndUs = packet->pts + packet->duration;
        }
        av_packet_unref(packet.get());
    }
    std::sort(pictures.begin(), pictures.end());
    for (std::size_t i = 1; i < pictures.size(); ++i) EXPECT_EQ(pictures[i], pictures[i - 1] + 40'000);
    EXPECT_EQ(pictures.back(), (kPictures - 1) * 40'000);
    EXPECT_LT(std::abs(soundEndUs - kSegments * 1'000'000), 30'000);
    return pictures.front();
}

TEST(Variants, SoundGoesOnAndSeekingBackWorksBehindAChange) {
    for (const bool grows : {false, true}) {
        VariantServer server({2});
        if (grows) server.grow();
        SourceInput input;
        const MediaError error = input.open(server.set(), {});
        ASSERT_FALSE(error) << error.text;
        input.adapt();
        EXPECT_EQ(readThrough(input), 0);
        EXPECT_GE(input.variants().changes, 2u);
        EXPECT_EQ(input.variants().soundChanges, 0u);
        if (grows) continue;
        EXPECT_LT(std::abs(input.durationUs() - kSegments * 1'000'000), 50'000);
        ASSERT_FALSE(input.seek(1'500'000));
        EXPECT_EQ(readThrough(input), 1'000'000);
    }
}

TEST(Variants, OneThatIsNotThereIsGoneWithout) {
    VariantServer server({});
    server.on("/variant_high.m3u8", answer("", "404 Not Found"));
    for (const char *attempt : {"found out when it is wanted", "found out at the start, now that the line is known"}) {
        SourceInput input;
        ASSERT_FALSE(input.open(server.set(), {})) << attempt;
        input.adapt();
        EXPECT_EQ(readThrough(input), 0) << attempt;
        EXPECT_EQ(input.variants().changes, 0u) << attempt;
    }
}

}  // namespace
}  // namespace test
