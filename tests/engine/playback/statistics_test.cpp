#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <map>

#include "base/protocols/reporter.h"
#include "engine/playback/loopback_server.h"
#include "engine/playback/watched_player.h"

namespace test {
namespace {

using support::clip;

TEST(Statistics, TellWhatHappenedInAClipWithKnownFacts) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    const std::string film = clip("h264_aac.mp4");  // 25 pictures of 40 ms, a key frame each tenth, 47 or 48 sounds
    WatchedPlayer player({film});
    ASSERT_TRUE(player.playToEnd());
    const auto record = player.parameter(2019);
    struct Known {
        int index;
        int value;
        const char *name;
    };
    for (const Known &known :
         {Known{0, 0, "event"}, Known{2, 0, "software"}, Known{3, 1000, "ms played"}, Known{5, 0, "decoder drops"},
          Known{6, 0, "drops"}, Known{11, 25, "packets in"}, Known{12, 25, "pictures out"}, Known{13, 0, "stalls"},
          Known{22, 25, "frame rate"}, Known{23, 48000, "sample rate"}}) {
        EXPECT_EQ(record.getInt32(known.index), known.value) << known.name;
    }
    EXPECT_FLOAT_EQ(record.getFloat(28), 25.0F) << "pictures decoded a second of play";
    EXPECT_FLOAT_EQ(record.getFloat(29), 25.0F) << "pictures rendered a second of play";
    EXPECT_DOUBLE_EQ(player.parameter(1600).getDouble(-1), 25.0);
    EXPECT_EQ(player.parameter(1707).getInt64(-1), 0);
    EXPECT_EQ(player.parameter(1709).getInt64(1), 1000);
    const int64_t handed = player.parameter(1709).getInt64(0);
    EXPECT_EQ(player.parameter(1601).getInt64(-1), handed * 8) << "untimed, pictures alone are decoded, for one second";
    EXPECT_GT(player.parameter(1602).getInt64(-1), handed / 25) << "key frames are the big ones";
    EXPECT_LT(handed, static_cast<int64_t>(std::filesystem::file_size(film)));
    EXPECT_STREQ(player.parameter(4003).getCString(-1), "bufferedMs:0,bufferedBytes:0,stalls:0,");
}

TEST(Statistics, SoundIsCountedWhereItIsDecoded) {
    WatchedPlayer player({clip("h264_aac.mp4")});
    ASSERT_TRUE(player.playToEnd());
    const auto record = player.parameter(2019);
    EXPECT_GE(record.getInt32(9), 47);
    EXPECT_GE(record.getInt32(9), record.getInt32(10)) << "AAC gives one piece of sound a packet, at most";
    EXPECT_GE(record.getInt32(10), 46);
    EXPECT_NEAR(record.getInt32(3), 1000, 45) << "one picture more or less at the end";
}

TEST(Statistics, ADownloadCountsTheBytesOfTheWholeBody) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    const std::string film = clip("sound_longer.mkv");
    const LoopbackServer server(LoopbackServer::Manner::kServe, film);
    WatchedPlayer player({server.url()});
    ASSERT_TRUE(player.playToEnd()) << player.events();
    const auto size = static_cast<int64_t>(std::filesystem::file_size(film));
    EXPECT_EQ(player.parameter(1707).getInt64(-1), size);
    for (const int key : {4005, 4009}) {
        int64_t bytes = -1;
        ASSERT_EQ(oriplayer::getInfoByPlayerId(player->getPlayerId(), key, &bytes), 0);
        EXPECT_EQ(bytes, size) << key;
    }
}

class Reporter : public protocols::IReporter {
public:
    struct Report {
        std::string module;
        int64_t id;
        int kind;
        std::map<std::string, std::string> values;
    };
    bool report(std::string module, int64_t id, int kind, std::map<std::string, std::string> &values) override {
        const std::lock_guard lock(mutex_);
        reports_.push_back({module, id, kind, values});
        return true;
    }
    std::vector<Report> reports() {
        const std::lock_guard lock(mutex_);
        return reports_;
    }

private:
    std::mutex mutex_;
    std::vector<Report> reports_;
};

TEST(Reports, ASummaryComesBeforeTheEndAndTheErrorBeforeItsSummary) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    const auto reporter = std::make_shared<Reporter>();
    WatchedPlayer player({clip("h264_aac.mp4")});
    player->setReporter(reporter);
    ASSERT_TRUE(player.playToEnd());
    ASSERT_EQ(reporter->reports().size(), 1u);
    const auto summary = reporter->reports()[0];
    EXPECT_EQ(summary.module, "oriplayer");
    EXPECT_EQ(summary.id, player->getPlayerId());
    EXPECT_EQ(summary.kind, 0);
    EXPECT_EQ(summary.values.at("picturesShown"), "25");
    EXPECT_EQ(summary.values.at("playedMs"), "1000");

    const auto failing = std::make_shared<Reporter>();
    WatchedPlayer broken({"/no/such/file.mp4"});
    broken->setReporter(failing);
    broken->prepareAsync();
    ASSERT_EQ(broken.waitForFailure(), 501);
    ASSERT_EQ(failing->reports().size(), 2u);
    EXPECT_EQ(failing->reports()[0].kind, 2);
    EXPECT_EQ(failing->reports()[0].values.at("event"), "501");
    EXPECT_EQ(failing->reports()[1].kind, 0);
}

}  // namespace
}  // namespace test
