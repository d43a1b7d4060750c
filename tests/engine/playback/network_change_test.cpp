#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <numeric>

#include "engine/playback/range_server.h"
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
    static std::vector<int> all(int count) {
        std::vector<int> numbers(static_cast<std::size_t>(count));
        std::iota(numbers.begin(), numbers.end(), 0);
        return numbers;
    }
    const std::string film_ = clip("sound_longer.mkv");
};

TEST_F(NetworkChange, ADownloadThatStandsGoesOnFromTheNewHostWithEveryPicture) {
    struct Case {
        const char *untimed;
        bool preloaded;
    };
    for (const Case &c : {Case{"1", false}, Case{"0", false}, Case{"1", true}}) {
        const PropertyGuard pace(oriplayer::kPropertyUntimed, c.untimed);
        RangeServer first(film_);
        RangeServer second(film_);
        first.limit = first.size() / 2;
        sDomains = "127.0.0.1:1, " + second.address();
        if (c.preloaded) {
            ASSERT_EQ(oriplayer::addPreloadTask(first.url().c_str(), kPreloadKiB), 0);
        }
        while (c.preloaded && first.requests == 0) std::this_thread::yield();
        WatchedPlayer player({first.url()});
        player->prepareAsync();
        player->start();
        ASSERT_TRUE(player.waitForPictures(3));
        change(player);
        ASSERT_TRUE(player.waitForEvent(1001)) << player.events();
        EXPECT_EQ(player.numbers(), all(25));
        EXPECT_EQ(player.events(), "306 1000 1017 1001");
        EXPECT_TRUE(sBufferIsZero);
        EXPECT_EQ(second.requests, 1);
        EXPECT_EQ(second.host, second.address());
        EXPECT_EQ(second.query, "/film?id=7");
        EXPECT_GT(second.lowest, 0u) << "it goes on where it stood";
        EXPECT_EQ(first.requests, 1);
    }
}

TEST_F(NetworkChange, NoAnswerAndHostsThatDoNotAnswerKeepTheConnection) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    struct Case {
        int result;
        const char *domains;
    };
    for (const Case &c : {Case{-1, "ignored"}, Case{0, ""}, Case{0, "127.0.0.1:1"}, Case{0, "/etc , a b"}}) {
        RangeServer server(film_);
        server.limit = server.size() / 2;
        sResult = c.result;
        sDomains = c.domains;
        sAsked = 0;
        WatchedPlayer player({server.url()});
        player->prepareAsync();
        player->start();
        ASSERT_TRUE(player.waitForPictures(3));
        change(player);
        while (sAsked == 0) std::this_thread::yield();
        server.limit = SIZE_MAX;
        ASSERT_TRUE(player.waitForEvent(1001)) << c.domains << player.events();
        EXPECT_EQ(player.pictures().size(), 25u);
    }
    WatchedPlayer local({film_});
    ASSERT_TRUE(local.playToEnd());
    sAsked = 0;
    change(local);
    local->stop(true);
    EXPECT_EQ(sAsked, 0) << "a file needs no host";
}

TEST_F(NetworkChange, ABodyThatEndsEarlyIsAnErrorBehindWhatWasRead) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    RangeServer server(film_);
    server.limit = server.size() / 2;
    server.closes = true;
    WatchedPlayer player({server.url()});
    player->prepareAsync();
    player->start();
    EXPECT_EQ(player.waitForFailure(), 503) << player.events();
    EXPECT_EQ(server.requests, 4) << "three tries";
    EXPECT_GT(player.pictures().size(), 3u);
    EXPECT_EQ(player.events(), "306 1000 1017 503");
}

}  // namespace
}  // namespace test
