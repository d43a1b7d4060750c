#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "engine/playback/loopback_server.h"
#include "engine/playback/watched_player.h"
#include "ffmpeg.h"

namespace test {
namespace {

using support::clip;
using Manner = LoopbackServer::Manner;

std::string fileWith(const std::string &name, const std::string &content) {
    const std::string path = testing::TempDir() + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

// Its streams are known from its first bytes: half of it can be played.
constexpr const char *kStreamable = "sound_longer.mkv";

std::size_t halfOf(const std::string &name) {
    return static_cast<std::size_t>(std::filesystem::file_size(clip(name)) / 2);
}

TEST(Failing, ASourceThatCannotBePlayedEndsInOneEventWithAText) {
    const LoopbackServer server(Manner::kServe);
    const std::string cases[] = {"/no/such/file.mp4",
                                 testing::TempDir(),
                                 fileWith("text.mp4", "not a film at all, only a line of text\n"),
                                 fileWith("empty.mp4", ""),
                                 "http://127.0.0.1:1/refused.mp4",
                                 server.url(),
                                 ""};
    for (const auto &url : cases) {
        WatchedPlayer player({url});
        player->prepareAsync();
        player->start();
        const int failure = player.waitForFailure();
        EXPECT_TRUE(failure == 501 || failure == 502) << url << ": " << player.events();
        EXPECT_EQ(player->start(), -1);
        EXPECT_EQ(player.events(), std::to_string(failure)) << url;
        EXPECT_NE(player.record->events[0].first, 0) << url;
        EXPECT_FALSE(player.record->events[0].text.empty()) << url;
    }
}

TEST(Failing, WhatWasReadBeforeIsPlayedBeforeTheError) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    WatchedPlayer player({clip("video_only.mp4"), "/no/such/file.mp4"});
    player->prepareAsync();
    player->start();
    EXPECT_EQ(player.waitForFailure(), 501);
    EXPECT_EQ(player.pictures().size(), 25u);
    EXPECT_EQ(player.events(), "306 1000 1017 501");
}

TEST(EngineLog, LinesAboutAPlayersSourceAreItsEventsAndForeignOnesGoTheirWay) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    testing::internal::CaptureStderr();
    {
        WatchedPlayer player({clip("damaged.ts")});
        EXPECT_TRUE(player.playToEnd()) << player.events();
        oriplayer::ProbeResult result;
        EXPECT_EQ(oriplayer::probeUrl(clip("damaged.ts").c_str(), {}, result), 0);
        player->stop(true);
        EXPECT_GT(player.ear->lines, 0);
        EXPECT_LE(player.ear->lines, 500);
    }
    av_log(nullptr, AV_LOG_WARNING, "the application's own\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "the application's own\n");
}

TEST(Failing, AnEmptyListOfSourcesFails) {
    WatchedPlayer player({});
    player->prepareAsync();
    EXPECT_EQ(player.waitForFailure(), 501);
}

TEST(Failing, ASilentServerEndsInAnErrorAndAStallInAReadError) {
    const PropertyGuard timeout(oriplayer::kPropertyNetworkTimeout, "400");
    const LoopbackServer silent(Manner::kSilent);
    WatchedPlayer waiting({silent.url()});
    waiting->prepareAsync();
    EXPECT_EQ(waiting.waitForFailure(), 501);

    const LoopbackServer stalling(Manner::kServe, clip(kStreamable), halfOf(kStreamable));
    WatchedPlayer player({stalling.url()});
    player->prepareAsync();
    player->start();
    EXPECT_EQ(player.waitForFailure(), 503) << player.events();
    EXPECT_GT(player.pictures().size(), 3u);
    EXPECT_EQ(player.events(), "306 1000 1017 503");
}

TEST(Stopping, IsBackSoonWhileTheNetworkHangs) {
    const LoopbackServer silent(Manner::kSilent);
    const LoopbackServer stalling(Manner::kServe, clip(kStreamable), halfOf(kStreamable));
    for (const auto &url : {silent.url(), stalling.url()}) {
        WatchedPlayer player({url});
        player->prepareAsync();
        player->start();
        if (url == stalling.url()) {
            ASSERT_TRUE(player.waitForPictures(3));
        } else {
            while (silent.requests() == 0) std::this_thread::yield();
        }
        const auto begin = std::chrono::steady_clock::now();
        player->stop(true);
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begin;
        EXPECT_LT(took.count(), 150) << url;  // the promise is 100 ms, the rest a loaded machine's
        const std::string events = player.events();
        player.letGo();
        EXPECT_EQ(player.events(), events);
    }
}

TEST(Network, HeadersAgentAndLiveAddressReachTheServer) {
    LoopbackServer server(Manner::kServe, clip("mpeg2_mp2.ts"));
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    WatchedPlayer player({""}, 0,
                         {{"datasource_live_type", "3"},
                          {"qzrtp_download_ip", "127.0.0.1"},
                          {"qzrtp_download_host", "live.example"},
                          {"qzrtp_download_httpport", std::to_string(server.port())},
                          {"qzrtp_download_stream_id", "stream/7"},
                          {"qzrtp_download_token", "secret"},
                          {"http_header:X-Trial", "one"}});
    player->setUserAgent("trial-agent");
    ASSERT_TRUE(player.playToEnd()) << player.events();
    EXPECT_EQ(player.pictures().size(), 25u);
    const std::string request = server.firstRequest();
    EXPECT_TRUE(request.starts_with("GET /stream/7?token=secret ")) << request;
    for (const char *line : {"Host: live.example\r\n", "X-Trial: one\r\n", "User-Agent: trial-agent\r\n"}) {
        EXPECT_NE(request.find(line), std::string::npos) << line << request;
    }
    EXPECT_GT(player.parameter(1707).getInt64(0), 10'000);

    WatchedPlayer nowhere({""}, 0, {{"datasource_live_type", "3"}});
    nowhere->prepareAsync();
    EXPECT_EQ(nowhere.waitForFailure(), 501);
}

}  // namespace
}  // namespace test
