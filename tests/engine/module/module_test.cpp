#include <gtest/gtest.h>
#include <json/json.h>

#include <cstring>

#include "base/live_stream_sdk.h"
#include "engine/playback/watched_player.h"
#include "module/preload_queue.h"
#include "module/properties.h"

namespace test {
namespace {

using oriplayer::Param;
using support::clip;

TEST(Properties, ATextThatCannotBeReadChangesNothingAndAnEmptyOneRestores) {
    struct Case {
        int number;
        const char *text;
        int result;
    };
    const Case cases[] = {{9001, "1", 0},      {9001, "yes", -1}, {9006, "2", 0},   {9006, "0", -1},  {9006, "2x", -1},
                          {9007, "250", 0},    {9008, "0", 0},    {9008, "-1", -1}, {9007, "-1", -1}, {9004, "deu", 0},
                          {9005, "/x.pem", 0}, {123, "fast", 0},  {9999, "1", -1},  {0, nullptr, -1}};
    for (const auto &item : cases)
        EXPECT_EQ(oriplayer::setProperty(item.number, item.text), item.result) << item.number;
    auto values = oriplayer::currentProperties();
    EXPECT_TRUE(values.untimed);
    EXPECT_EQ(values.decoderThreads, 2);
    EXPECT_EQ(values.networkTimeoutMs, 250);
    EXPECT_EQ(values.audioTrack, "deu");
    for (int number = 9001; number <= 9008; ++number) EXPECT_EQ(oriplayer::setProperty(number, nullptr), 0);
    values = oriplayer::currentProperties();
    EXPECT_FALSE(values.untimed);
    EXPECT_EQ(values.networkTimeoutMs, 8000);
    EXPECT_EQ(values.caFile, "");
}

TEST(PreloadTasks, AreKeptInABoundedQueueAndAnEmptyOneIsRefused) {
    auto &queue = oriplayer::PreloadQueue::instance();
    EXPECT_EQ(oriplayer::addPreloadTask(nullptr, 8192), -1);
    EXPECT_EQ(oriplayer::addPreloadTask("", 8192), -1);
    EXPECT_EQ(queue.size(), 0u);
    EXPECT_EQ(oriplayer::addPreloadTask("a", 8192), 0);
    EXPECT_EQ(oriplayer::addPreloadTask("a", 8192), 0);
    EXPECT_EQ(queue.size(), 2u);
    for (int i = 0; i < 21'000; ++i) oriplayer::addPreloadTask("b", 1);
    EXPECT_EQ(queue.size(), 20'000u);
    EXPECT_LE(queue.warm(), 3u);
}

TEST(PlayerInformation, IsForLivingPlayersAndKnownKeysOnly) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    WatchedPlayer player({clip("h264_aac.mp4")});
    WatchedPlayer other({clip("h264_aac.mp4")});
    EXPECT_NE(player->getPlayerId(), other->getPlayerId());
    int64_t bytes = -7;
    const int id = player->getPlayerId();
    EXPECT_EQ(oriplayer::getInfoByPlayerId(id, 4005, &bytes), 0);
    EXPECT_EQ(bytes, 0);
    ASSERT_TRUE(player.playToEnd());
    EXPECT_EQ(oriplayer::getInfoByPlayerId(id, 4005, &bytes), 0);
    EXPECT_GT(bytes, 1000);
    EXPECT_EQ(oriplayer::getInfoByPlayerId(id, 4009, &bytes), 0);
    EXPECT_EQ(bytes, 0);
    char *text = nullptr;
    EXPECT_EQ(oriplayer::getInfoByPlayerId(id, 4026, &text), 0);
    EXPECT_EQ(text, nullptr);
    bytes = -7;
    EXPECT_EQ(oriplayer::getInfoByPlayerId(id, 4006, &bytes), -1);
    oriplayer::cache_static_t record;
    std::memset(&record, 0xFF, sizeof record);
    EXPECT_EQ(oriplayer::getDownloadStatisticInfo(id, &record), 0);
    EXPECT_EQ(record.opaque0[0], 0);
    EXPECT_EQ(record.downloadStatus, 0);
    player.letGo();
    EXPECT_EQ(oriplayer::getInfoByPlayerId(id, 4005, &bytes), -1);
    EXPECT_EQ(oriplayer::getDownloadStatisticInfo(id, &record), -1);
    EXPECT_EQ(bytes, -7);
}

TEST(Parameters, AnswerEveryDocumentedNumber) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    WatchedPlayer player({clip("h264_aac.mp4")});
    Param param;
    for (const int number : {1600, 1601, 1602, 1707, 1709, 2019, 3005, 4001, 4002, 4003}) {
        EXPECT_EQ(player->getParameter(number, &param, -1), 0) << number;
    }
    for (const int number : {1610, 1624, 3904, 77}) EXPECT_EQ(player->getParameter(number, &param, -1), -1) << number;
    EXPECT_EQ(player.parameter(1600).getDouble(-1), 0.0);
    ASSERT_TRUE(player.playToEnd());
    EXPECT_DOUBLE_EQ(player.parameter(1600).getDouble(-1), 25.0);
    EXPECT_GT(player.parameter(1601).getInt64(-1), 1000);
    EXPECT_GT(player.parameter(1602).getInt64(-1), 1000);
    EXPECT_EQ(player.parameter(1709).getInt64(1), 1000);
    EXPECT_EQ(player.parameter(2019).getInt32(11), 25);
    EXPECT_EQ(player.parameter(2019).getInt32(22), 25);
    EXPECT_FLOAT_EQ(player.parameter(2019).getFloat(28), 25.0F);
    EXPECT_STREQ(player.parameter(4002).getCString(-1), "");
    EXPECT_TRUE(std::string(player.parameter(4003).getCString(-1)).ends_with(",stalls:0,"));

    WatchedPlayer sound({clip("audio_only.ogg")});
    ASSERT_TRUE(sound.playToEnd());
    EXPECT_EQ(sound->getParameter(1600, &param, -1), -1);
}

TEST(Parameters, TakeWhatFitsAndRefuseTheRest) {
    WatchedPlayer player({clip("h264_aac.mp4")});
    const auto set = [&](int number, auto put) {
        Param param;
        put(param);
        return player->setParameter(number, param, -1);
    };
    EXPECT_EQ(set(3004, [](Param &p) { p.putFloat(7.0F); }), 0);
    EXPECT_FLOAT_EQ(player.parameter(3005).getFloat(-1), 1.0F);
    EXPECT_EQ(set(3004, [](Param &p) { p.putFloat(0.25F); }), 0);
    EXPECT_FLOAT_EQ(player.parameter(3005).getFloat(-1), 0.25F);
    EXPECT_EQ(set(3006, [](Param &p) { p.putCString("no such device", false); }), -1);
    EXPECT_EQ(set(3006, [](Param &p) { p.putCString("", false); }), 0);
    for (const int number : {1991, 2001, 2016, 2100, 2360, 3200, 3300, 3600, 3901, 4100, 4105, 4213}) {
        EXPECT_EQ(set(number, [](Param &p) { p.putInt32(1); }), 0) << number;
    }
    for (const int number : {3301, 3302, 3303, 3612, 3613, 5}) {
        EXPECT_EQ(set(number, [](Param &p) { p.putInt32(1); }), -1) << number;
    }
    EXPECT_EQ(player->setRenderConfig(2011, Param(), 0), -1) << "no values are no crop";
    EXPECT_EQ(player->setRenderConfig(2014, Param(), 0), -1);
    oriplayer::StringMap map;
    EXPECT_EQ(player->setFilter(5, map, -1), -1);
    EXPECT_EQ(player->changePeriod(0, 0, player.period, nullptr), -1);
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    EXPECT_EQ(set(2300, [](Param &p) { p.putInt32(1); }), 0);
    ASSERT_TRUE(player.playToEnd());
    EXPECT_TRUE(player.pictures().empty());
    EXPECT_EQ(player->prepareAsync(), -1);
}

TEST(ReportChannel, HandsTheObjectToTheHandlerThatIsInstalled) {
    Json::Value report;
    report["size"] = 5;
    live_stream_sdk::LiveStreamSDKSendReport(0, "download", "log", &report, nullptr);
    std::string seen;
    live_stream_sdk::setReportHandler([&](const char *module, const char *category, const Json::Value &value) {
        seen = std::string(module) + "/" + category + "/" + value["size"].asString();
        live_stream_sdk::setReportHandler({});
    });
    live_stream_sdk::LiveStreamSDKSendReport(0, "download", "log", &report, nullptr);
    EXPECT_EQ(seen, "download/log/5");
    seen.clear();
    live_stream_sdk::LiveStreamSDKSendReport(0, "download", "log", &report, nullptr);
    EXPECT_EQ(seen, "");
}

}  // namespace
}  // namespace test
