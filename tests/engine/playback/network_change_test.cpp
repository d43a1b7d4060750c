#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "engine/playback/loopback_server.h"
#include "engine/playback/watched_player.h"

namespace test {
namespace {

using support::clip;

// What the application answers; the callback is a plain function.
std::string sDomains;
std::atomic<int> sAsked{0};
std::atomic<int> sResult{0};
std::atomic<bool> sBufferIsZero{false};

int answerDomains(int, char *buffer, int size, int &state, const char *url, const char *) {
    ++sAsked;
    sBufferIsZero = size == 4095 && std::all_of(buffer, buffer + size + 1, [](char c) { return c == 0; });
    state = 1;
    if (sResult == 0 && url) snprintf(buffer, static_cast<std::size_t>(size), "%s", sDomains.c_str());
    return sResult;
}

constexpr int64_t kPreloadKiB = 8;  // of a film of about 100

class NetworkChange : public testing::Test {
protected:
    void SetUp() override {
        sAsked = 0;
        sResult = 0;
        oriplayer::setNetworkSwitchDomainCB(&answerDomains);
    }
    void TearDown() override { oriplayer::setNetworkSwitchDomainCB(nullptr); }

    static void change(WatchedPlayer &player) {
        oriplayer::Param param;
        param.putInt32(1);
        EXPECT_EQ(player->setParameter(3901, param, -1), 0);
    }
    const std::string film_ = clipBytes("sound_longer.mkv");
};

TEST_F(NetworkChange, ADownloadThatStandsGoesOnFromTheNewHostWithEveryPicture) {
    for (const auto &[pace, preloaded] : {std::pair("1", false), std::pair("0", false), std::pair("1", true)}) {
        const PropertyGuard untimed(oriplayer::kPropertyUntimed, pace);
        Film half(film_);
        half.limit = half.size() / 2;
        Film whole(film_);
        LoopbackServer first;
        LoopbackServer second;
        first.on("/film", std::ref(half));
        second.on("/film", std::ref(whole));
        sDomains = "127.0.0.1:1, " + second.address();
        const std::string url = first.url("/film?id=7");
        if (preloaded) {
            ASSERT_EQ(oriplayer::addPreloadTask(url.c_str(), kPreloadKiB), 0);
            first.awaitRequests(1);
        }
        WatchedPlayer player({url});
        player->prepareAsync();
        player->start();
        ASSERT_TRUE(player.waitForPictures(3));
        change(player);
        ASSERT_TRUE(player.waitForEvent(1001)) << player.events();
        EXPECT_EQ(player.pictures().size(), 25u);
        EXPECT_EQ(player.events(), "306 1000 1017 1001");
        EXPECT_TRUE(sBufferIsZero);
        ASSERT_EQ(second.requests().size(), 1u);
        const Connection request(-1, second.requests()[0]);
        EXPECT_EQ(request.header("Host"), second.address());
        EXPECT_EQ(request.target(), "/film?id=7");
        EXPECT_GT(request.from(), 0u) << "it goes on where it stood";
        EXPECT_EQ(first.requests().size(), 1u);
    }
}

TEST_F(NetworkChange, AConnectionThatWaitsForItsAnswerIsMadeToTheNewHostWithEveryPicture) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    const std::string list = clipBytes("variant_low.m3u8");
    const std::string begun = list.substr(0, list.find(".ts", list.find(".ts") + 1) + 4);  // two segments, live
    const struct {
        const char *url, *silent;  // the old host answers for `silent` only the first `answers` times
        int answers;
        std::size_t pictures;
        bool preloaded;
    } cases[] = {{"/film", "/film", 0, 25, false},
                 {"/film", "/film", 0, 25, true},
                 {"/variant_low.m3u8", "/variant_low2.ts", 0, 150, false},
                 {"/variant_low.m3u8", "/variant_low.m3u8", 1, 150, false}};
    for (const auto &each : cases) {
        SCOPED_TRACE(std::string(each.silent) + (each.preloaded ? ", preloaded" : ""));
        LoopbackServer first;
        LoopbackServer second;
        std::atomic<int> asked{0};
        first.on(each.silent, [&](const Connection &connection) {
            if (asked++ < each.answers) return answer(begun)(connection);
            connection.silence();
        });
        second.on("/film", answer(film_));
        sDomains = second.address();
        sAsked = 0;
        const std::string url = first.url(each.url);
        if (each.preloaded) {
            ASSERT_EQ(oriplayer::addPreloadTask(url.c_str(), kPreloadKiB), 0);
            first.awaitRequests(1);
        }
        WatchedPlayer player({url});
        player.play();
        while (asked <= each.answers) std::this_thread::yield();
        while (sAsked == 0) change(player);
        EXPECT_TRUE(player.waitForEvent(1001)) << player.events();
        EXPECT_EQ(player.pictures().size(), each.pictures);
        EXPECT_EQ(player.events(), "306 1000 1017 1001");
    }
}

TEST_F(NetworkChange, NoAnswerAndHostsThatDoNotAnswerKeepTheConnection) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    for (const auto &[result, domains] :
         {std::pair(-1, "ignored"), std::pair(0, ""), std::pair(0, "127.0.0.1:1"), std::pair(0, "/etc , a b")}) {
        Film film(film_);
        film.limit = film.size() / 2;
        LoopbackServer server;
        server.on("/film", std::ref(film));
        sResult = result;
        sDomains = domains;
        sAsked = 0;
        WatchedPlayer player({server.url()});
        player->prepareAsync();
        player->start();
        ASSERT_TRUE(player.waitForPictures(3));
        change(player);
        while (sAsked == 0) std::this_thread::yield();
        film.limit = SIZE_MAX;
        ASSERT_TRUE(player.waitForEvent(1001)) << domains << player.events();
        EXPECT_EQ(player.pictures().size(), 25u);
    }
    WatchedPlayer local({clip("video_only.mp4")});
    ASSERT_TRUE(local.playToEnd());
    sAsked = 0;
    change(local);
    local->stop(true);
    EXPECT_EQ(sAsked, 0) << "a file needs no host";
}

}  // namespace
}  // namespace test
