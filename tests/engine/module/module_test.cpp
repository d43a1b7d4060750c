#include <gtest/gtest.h>
#include <json/json.h>

#include <atomic>
#include <cstring>
#include <future>
#include <stdexcept>
#include <thread>

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
    const Case cases[] = {{9001, "1", 0},      {9001, "yes", -1}, {9006, "2", 0},  {9006, "0", -1},
                          {9006, "2x", -1},    {9007, "250", 0},  {9008, "0", 0},  {9008, "-1", -1},
                          {9007, "-1", -1},    {9009, "16", 0},   {9009, "0", -1}, {9004, "deu", 0},
                          {9005, "/x.pem", 0}, {123, "fast", 0},  {9999, "1", -1}, {0, nullptr, -1}};
    for (const auto &item : cases)
        EXPECT_EQ(oriplayer::setProperty(item.number, item.text), item.result) << item.number;
    auto values = oriplayer::currentProperties();
    EXPECT_TRUE(values.untimed);
    EXPECT_EQ(values.decoderThreads, 2);
    EXPECT_EQ(values.networkTimeoutMs, 250);
    EXPECT_EQ(values.audioTrack, "deu");
    for (int number = 9001; number <= 9009; ++number) EXPECT_EQ(oriplayer::setProperty(number, nullptr), 0);
    values = oriplayer::currentProperties();
    EXPECT_FALSE(values.untimed);
    EXPECT_EQ(values.networkTimeoutMs, 8000);
    EXPECT_EQ(values.caFile, "");
}

TEST(PlayerInformation, AnswersKnownKeysOnlyAndAnEmptyRecord) {
    WatchedPlayer player({clip("h264_aac.mp4")});
    const int id = player->getPlayerId();
    int64_t bytes = -7;
    EXPECT_EQ(oriplayer::getInfoByPlayerId(id, 4005, &bytes), 0);
    EXPECT_EQ(bytes, 0);
    EXPECT_EQ(oriplayer::getInfoByPlayerId(id, 4006, &bytes), -1);
    char *text = nullptr;
    EXPECT_EQ(oriplayer::getInfoByPlayerId(id, 4026, &text), 0);
    EXPECT_EQ(text, nullptr);
    oriplayer::cache_static_t record;
    std::memset(&record, 0xFF, sizeof record);
    EXPECT_EQ(oriplayer::getDownloadStatisticInfo(id, &record), 0);
    EXPECT_EQ(record.opaque0[0], 0);
    EXPECT_EQ(record.downloadStatus, 0);
}

TEST(Parameters, TakeWhatFitsAndRefuseTheRest) {
    WatchedPlayer player({clip("h264_aac.mp4")});
    player.set(2009, 1);  // before prepareAsync it means volume 0
    EXPECT_FLOAT_EQ(player.parameter(3005).getFloat(-1), 0.0F);
    for (const auto &[volume, taken] : {std::pair{7.0F, 1.0F}, {0.25F, 0.25F}}) {
        EXPECT_EQ(player.set(3004, volume), 0);
        EXPECT_FLOAT_EQ(player.parameter(3005).getFloat(-1), taken);
    }
    for (const auto &[device, result] : {std::pair{"no such device", -1}, {"", 0}}) {
        Param name;
        name.putCString(device, false);
        EXPECT_EQ(player->setParameter(3006, name, -1), result);
    }
    for (const int number : {3301, 3302, 3303, 3612, 3613, 5}) {
        EXPECT_EQ(player.set(number, 1), -1) << number;
    }
    Param param;
    for (const int number : {4001, 4002}) EXPECT_EQ(player->getParameter(number, &param, -1), 0) << number;
    for (const int number : {1610, 1624, 3904, 77}) EXPECT_EQ(player->getParameter(number, &param, -1), -1) << number;
    EXPECT_EQ(player->setRenderConfig(2014, Param(), 0), -1);
    oriplayer::StringMap map;
    EXPECT_EQ(player->setFilter(5, map, -1), -1);
    EXPECT_EQ(player->changePeriod(0, 0, player.period, nullptr), -1);
}

TEST(ReportChannel, AHandlerMayThrow_AndIsNotRunningOnceReplaced) {
    Json::Value report;
    std::atomic<bool> returned{false};
    std::promise<void> inside;
    live_stream_sdk::setReportHandler([&](const char *, const char *, const Json::Value &) {
        inside.set_value();
        for (int i = 0; i < 1000; ++i) std::this_thread::yield();  // the other thread waits by now
        returned = true;
        throw std::runtime_error("of the host");
    });
    std::thread sender([&] { live_stream_sdk::LiveStreamSDKSendReport(0, "download", "log", &report, nullptr); });
    inside.get_future().wait();
    live_stream_sdk::setReportHandler({});
    EXPECT_TRUE(returned);
    sender.join();
}

}  // namespace
}  // namespace test
