#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <set>

#include "engine/playback/watched_player.h"
#include "input/source_input.h"

namespace test {
namespace {

using namespace oriplayer;
using support::clip;

constexpr int kSegments = 6;
constexpr int kPictures = 25 * kSegments;
constexpr int kLowWidth = 160;
constexpr int kHighWidth = 320;

std::string contents(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A set of two variants of 200 and 2,000 kbit/s, as it says; some segments come with 600 kbit/s, the others at once.
class VariantServer {
public:
    explicit VariantServer(std::set<int> slowSegments) : slow_(std::move(slowSegments)) {
        server_.Get("/set.m3u8", [](const httplib::Request &, httplib::Response &response) {
            response.set_content(
                "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=200000\nvariant_low.m3u8\n"
                "#EXT-X-STREAM-INF:BANDWIDTH=2000000\n/variant_high.m3u8\n",
                "application/vnd.apple.mpegurl");
        });
        server_.Get(R"(/(variant_\w+)\.m3u8)", [this](const httplib::Request &request, httplib::Response &response) {
            const std::string name = request.matches[1];
            if (name == "variant_high" && highIsGone) return void(response.status = 404);
            response.set_content(listNow(contents(clip(name + ".m3u8"))), "application/vnd.apple.mpegurl");
        });
        server_.Get(R"(/(variant_[a-z]+)(\d)\.ts)",
                    [this](const httplib::Request &request, httplib::Response &response) {
                        const bool slow = slow_.count(std::stoi(request.matches[2])) > 0;
                        const std::string body = contents(directory_ + request.path);
                        response.set_content_provider(
                            body.size(), "video/mp2t",
                            [body, slow](std::size_t offset, std::size_t length, httplib::DataSink &sink) {
                                if (!slow) return sink.write(body.data() + offset, length);
                                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                                return sink.write(body.data() + offset, std::min<std::size_t>(length, 1500));
                            });
                    });
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        while (!server_.is_running()) std::this_thread::yield();
    }
    ~VariantServer() {
        server_.stop();
        thread_.join();
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/set.m3u8"; }

    std::atomic<bool> highIsGone{false};
    std::atomic<bool> grows{false};  ///< each time that it is asked for, a list shows one segment more

private:
    std::string listNow(const std::string &whole) {
        if (!grows) return whole;
        std::size_t end = 0;
        const int shown = std::min(kSegments, 3 + asked_++);
        for (int i = 0; i < shown; ++i) end = whole.find(".ts", end) + 4;
        return shown == kSegments ? whole : whole.substr(0, end);
    }

    const std::string directory_ = std::filesystem::path(clip("variant_low.m3u8")).parent_path().string();
    const std::set<int> slow_;
    std::atomic<int> asked_{0};
    httplib::Server server_;
    int port_ = 0;
    std::thread thread_;
};

TEST(Variants, FollowTheSpeedUpAndDownWithEveryPictureOnce) {
    const PropertyGuard untimed(kPropertyUntimed, "1");
    VariantServer server({2, 3});
    WatchedPlayer player({server.url()});
    ASSERT_TRUE(player.playToEnd()) << player.events();
    std::vector<int> all(kPictures);
    std::iota(all.begin(), all.end(), 0);
    EXPECT_EQ(player.numbers(), all);
    const Param state = player.parameter(1610);
    const bool startsHigh = state.getInt32(2) == 1;
    const int expected[kSegments] = {
        startsHigh ? kHighWidth : kLowWidth, kHighWidth, kHighWidth, kLowWidth, kLowWidth, kHighWidth};
    for (int i = 0; i < kPictures; ++i) {
        ASSERT_EQ(player.pictures()[static_cast<std::size_t>(i)].width, expected[i / 25]) << i;
    }
    struct Known {
        int index;
        int value;
        const char *name;
    };
    for (const Known &known :
         {Known{1, 1, "on demand"}, Known{20, 1, "top"}, Known{31, startsHigh ? 2 : 3, "seconds low"},
          Known{30, startsHigh ? 4 : 3, "seconds high"}, Known{36, 1, "down"}, Known{37, startsHigh ? 1 : 2, "up"},
          Known{38, 2, "variants"}, Known{29, 0, "no third"}}) {
        EXPECT_EQ(state.getInt32(known.index), known.value) << known.name;
    }
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
        server.grows = grows;
        SourceInput input;
        const MediaError error = input.open(server.url(), {});
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
    server.highIsGone = true;
    for (const char *attempt : {"found out when it is wanted", "found out at the start, now that the line is known"}) {
        SourceInput input;
        ASSERT_FALSE(input.open(server.url(), {})) << attempt;
        input.adapt();
        EXPECT_EQ(readThrough(input), 0) << attempt;
        EXPECT_EQ(input.variants().changes, 0u) << attempt;
    }
}

}  // namespace
}  // namespace test
