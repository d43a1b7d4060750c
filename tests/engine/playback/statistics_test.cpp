#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>

#include "base/protocols/reporter.h"
#include "engine/playback/loopback_server.h"
#include "engine/playback/watched_player.h"
#include "playback/download_speed.h"
#include "playback/impairments.h"
#include "support/eventually.h"
#include "support/temporary_folder.h"

namespace test {
namespace {

using support::clip;

oriplayer::cache_static_t downloadOf(const WatchedPlayer &player) {
    oriplayer::cache_static_t record{};
    EXPECT_EQ(oriplayer::getDownloadStatisticInfo(player->getPlayerId(), &record), 0);
    return record;
}

TEST(Statistics, TellWhatHappenedInAClipWithKnownFacts) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    const std::string film = clip("h264_aac.mp4");  // 25 pictures of 40 ms, a key frame each tenth, 47 or 48 sounds
    WatchedPlayer player({film});
    ASSERT_TRUE(player.playToEnd());
    const auto record = player.parameter(2019);
    const std::map<int, std::pair<int, const char *>> known{
        {0, {0, "event"}},  {2, {0, "software"}},     {3, {1000, "ms played"}},   {5, {0, "decoder drops"}},
        {6, {0, "drops"}},  {11, {25, "packets in"}}, {12, {25, "pictures out"}}, {13, {0, "stalls"}},
        {22, {25, "rate"}}, {23, {48000, "of sound"}}};
    for (const auto &[index, value] : known) EXPECT_EQ(record.getInt32(index), value.first) << value.second;
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

TEST(Statistics, ADownloadCountsTheBytesOfTheWholeBody) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    LoopbackServer server;
    WatchedPlayer player({server.url("/sound_longer.mkv")});
    ASSERT_TRUE(player.playToEnd()) << player.events();
    const auto size = static_cast<int64_t>(std::filesystem::file_size(clip("sound_longer.mkv")));
    EXPECT_EQ(player.parameter(1707).getInt64(-1), size);
    for (const int key : {4005, 4009}) {
        int64_t bytes = -1;
        ASSERT_EQ(oriplayer::getInfoByPlayerId(player->getPlayerId(), key, &bytes), 0);
        EXPECT_EQ(bytes, size) << key;
    }
}

TEST(Statistics, ADownloadIsUnderWayUntilItsEndIsRead_AgainAfterASeekBack) {
    Film film(clipBytes("numbered_better.mkv"));
    film.limit = film.size() / 2;
    LoopbackServer server;
    server.on("/film", std::ref(film));
    WatchedPlayer player({server.url()});
    const auto downloads = [&] { return downloadOf(player).downloadStatus == 1; };
    EXPECT_FALSE(downloads());
    ASSERT_TRUE(player.prepare());
    EXPECT_TRUE(downloads());
    film.limit = film.size();
    player->seekTo(9000, 0);
    ASSERT_TRUE(support::eventually([&] { return !downloads(); }));
    film.limit = film.size() / 2;
    player->seekTo(0, 0);
    EXPECT_TRUE(support::eventually([&] { return downloads() && downloadOf(player).downloadSpeed > 0.0; }));
}

TEST(DownloadSpeed, IsThatOfTheLastSecond_HoweverOftenItIsAsked) {
    struct Moment {
        int ms;
        int64_t arrives;
        double speed;  // after it
    };
    oriplayer::DownloadSpeed speed;
    const std::chrono::steady_clock::time_point begin(std::chrono::hours(1));
    for (const Moment &moment : {Moment{0, 1000, 1000 / 0.9},
                                 {50, 0, 1000 / 0.95},
                                 {50, 900, 1900 / 0.95},
                                 {999, 0, 1900 / 0.999},
                                 {1000, 0, 0.0},
                                 {1500, 3000, 3000 / 0.9},
                                 {2400, 600, 3600 / 0.9},
                                 {2500, 0, 600 / 0.9},
                                 {90'000, 0, 0.0}}) {
        const auto now = begin + std::chrono::milliseconds(moment.ms);
        if (moment.arrives > 0) speed.add(moment.arrives, now);
        EXPECT_DOUBLE_EQ(speed.bytesPerSecond(now), moment.speed) << moment.ms;
    }
}

TEST(Statistics, SeeksLeaveUnusedBytesAndAveragesRight) {
    const std::string film = clip("h264_aac.mp4");  // shorter than what is read ahead
    WatchedPlayer player({film});
    ASSERT_TRUE(player.prepare());
    player->start();
    player->pause();
    const auto unused = [&] {
        int64_t downloaded = -1;
        EXPECT_EQ(oriplayer::getInfoByPlayerId(player->getPlayerId(), 4005, &downloaded), 0);
        return downloaded - player.parameter(1709).getInt64(0);
    };
    for (const int target : {800, 0, 900, 0, 400, 0, 600, 0, 800, 0}) {
        const std::size_t before = player.pictures().size();
        player->seekTo(target, 0);
        ASSERT_TRUE(player.waitForPictures(before + 1));
        EXPECT_GE(unused(), 0) << target;
    }
    // Some bytes are read twice between two seeks, where sound and pictures are far apart.
    EXPECT_LE(unused(), 2 * static_cast<int64_t>(std::filesystem::file_size(film)));
    // Pictures decoded, pictures shown, sounds decoded, sounds heard.
    for (const auto &[place, rate] : {std::pair(28, 25.0), {29, 25.0}, {30, 46.875}, {31, 46.875}}) {
        const auto reached = [&] { return std::abs(player.parameter(2019).getFloat(place) - rate) < 0.01; };
        EXPECT_TRUE(support::eventually(reached)) << place << ": " << player.parameter(2019).getFloat(place);
    }
}

TEST(Statistics, SoundThatCannotBeDecodedIsCounted) {
    const support::TemporaryFolder folder;
    std::string bytes = clipBytes("cover.m4a");
    bytes.replace(bytes.size() / 2, 600, 600, '\0');  // over two packets at least, over five at most
    const std::string damaged = folder.write("damaged.m4a", bytes);
    WatchedPlayer player({damaged});
    ASSERT_TRUE(player.playToEnd()) << player.events();
    const auto record = player.parameter(2019);
    EXPECT_GE(record.getInt32(7), 2);
    EXPECT_LE(record.getInt32(7), 5);
    EXPECT_GE(record.getInt32(9), record.getInt32(10) + record.getInt32(7));
}

TEST(Impairments, AreCountedWhenTheyBegin) {
    using Sound = oriplayer::Impairments::Sound;
    struct Shown {
        int64_t lateUs;
        Sound sound;
        int apart, stuck, silent;  // so far
    };
    oriplayer::Counters counters;
    oriplayer::Impairments impairments(counters);
    for (const Shown &shown : {Shown{0, Sound::kMissing, 0, 0, 0},  // not heard yet
                               {600'000, Sound::kNotDue, 0, 0, 0},  // apart from what?
                               {40'000, Sound::kHeard, 0, 0, 0},
                               {40'001, Sound::kHeard, 1, 0, 0},
                               {600'000, Sound::kHeard, 1, 1, 0},
                               {500'001, Sound::kHeard, 1, 1, 0},
                               {0, Sound::kHeard, 1, 1, 0},
                               {600'000, Sound::kHeard, 2, 2, 0},
                               {0, Sound::kMissing, 2, 2, 1},
                               {0, Sound::kMissing, 2, 2, 1},
                               {0, Sound::kHeard, 2, 2, 1},
                               {0, Sound::kNotDue, 2, 2, 1},
                               {0, Sound::kMissing, 2, 2, 2}}) {
        impairments.shown(shown.lateUs, shown.sound);
        EXPECT_EQ(counters.apart, shown.apart);
        EXPECT_EQ(counters.picturesStuck, shown.stuck);
        EXPECT_EQ(counters.soundsMissing, shown.silent);
    }
    impairments.restart();
    impairments.shown(0, Sound::kMissing);
    EXPECT_EQ(counters.soundsMissing, 2);
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
    bool waitFor(std::size_t count) {
        return support::eventually([&] { return reports().size() >= count; });
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

TEST(Reports, AStallIsReportedAndCounted) {
    using Clock = std::chrono::steady_clock;
    Film film(clipBytes("sound_longer.mkv"));
    film.limit = film.size() / 2;
    LoopbackServer server;
    server.on("/film", std::ref(film));
    const auto reporter = std::make_shared<Reporter>();
    WatchedPlayer player({server.url()});
    player->setReporter(reporter);
    std::atomic<Clock::time_point> last{Clock::now()};
    player.screen->onPicture = [&](const ShownPicture &) { last = Clock::now(); };
    player->prepareAsync();
    player->start();
    ASSERT_TRUE(reporter->waitFor(1)) << player.events();
    // It is told when all that was read has been presented, not when the connection is given up, 8 s later: 0.5 s for
    // the last picture and the sound behind it, the rest a loaded machine's.
    EXPECT_LT(Clock::now() - last.load(), std::chrono::milliseconds(2400));
    const auto report = reporter->reports()[0];
    EXPECT_EQ(report.kind, 1);
    EXPECT_EQ(report.values.at("stalls"), "1");
    EXPECT_EQ(report.values.at("networkBytes"), std::to_string(player.parameter(1707).getInt64(-1)));
    const int64_t position = std::stoll(report.values.at("positionMs"));
    EXPECT_GT(position, 0);
    EXPECT_NEAR(static_cast<double>(player.positionMs()), static_cast<double>(position), 1) << "time stands";

    EXPECT_TRUE(support::eventually([&] { return downloadOf(player).downloadSpeed == 0.0; }));
    EXPECT_EQ(downloadOf(player).downloadStatus, 1) << "more is to come";

    film.limit = SIZE_MAX;
    ASSERT_TRUE(player.waitForEvent(1001)) << player.events();
    // Sound is read a little ahead of pictures; it waits for them, or they would be late behind it.
    EXPECT_EQ(static_cast<int>(player.pictures().size()) + player.dropped(), 25);
    EXPECT_LE(player.dropped(), 2) << "a loaded machine's";
    const auto record = player.parameter(2019);
    for (const int index : {13, 14, 16}) EXPECT_EQ(record.getInt32(index), 1) << index;
    EXPECT_TRUE(std::string(player.parameter(4003).getCString(-1)).ends_with("stalls:1,"));
    EXPECT_EQ(downloadOf(player).downloadStatus, 0);
    ASSERT_TRUE(reporter->waitFor(2));
    EXPECT_EQ(reporter->reports()[1].kind, 0);
    EXPECT_EQ(reporter->reports()[1].values.at("stalls"), "1");
}

}  // namespace
}  // namespace test
