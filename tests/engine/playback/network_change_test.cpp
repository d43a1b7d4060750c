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

class NetworkChange : public testing::Test {
protected:
    void SetUp() override {
        sAsked = 0;
        sResult = 0;
        oriplayer::setNetworkSwitchDomainCB(&answerDomains);
    }
    void TearDown() override { oriplayer::setNetworkSwitchDomainCB(nullptr); }

    static void change(WatchedPlayer &player) { EXPECT_EQ(player.set(3901, 1), 0); }
    const std::string film_ = clipBytes("sound_longer.mkv");
};

TEST_F(NetworkChange, ADownloadThatWaitsGoesOnFromTheNewHostWithEveryPicture) {
    const std::string list = clipBytes("variant_low.m3u8");
    const std::string begun = list.substr(0, list.find(".ts", list.find(".ts") + 1) + 4);  // two segments, live
    Film half(film_);
    half.limit = half.size() / 2;
    const Answer silent = &Connection::silence;
    const struct {
        std::string url, path;  // of the source, and of what the old host does not answer in full
        Answer old;             // how it answers, from the second request on if there is an `earlier` one
        Answer earlier;
        std::size_t pictures;
        bool preloaded;
        const char *untimed;
    } cases[] = {{"/sound_longer.mkv?id=7", "/sound_longer.mkv", std::ref(half), nullptr, 25, false, "1"},
                 {"/sound_longer.mkv?id=7", "/sound_longer.mkv", std::ref(half), nullptr, 25, false, "0"},
                 {"/sound_longer.mkv?id=7", "/sound_longer.mkv", std::ref(half), nullptr, 25, true, "1"},
                 {"/sound_longer.mkv?id=7", "/sound_longer.mkv", silent, nullptr, 25, false, "1"},
                 {"/sound_longer.mkv?id=7", "/sound_longer.mkv", silent, nullptr, 25, true, "1"},
                 {"/variant_low.m3u8", "/variant_low2.ts", silent, nullptr, 150, false, "1"},
                 {"/variant_low.m3u8", "/variant_low.m3u8", silent, answer(begun), 150, false, "1"}};
    for (const auto &each : cases) {
        SCOPED_TRACE(&each - cases);
        const PropertyGuard untimed(oriplayer::kPropertyUntimed, each.untimed);
        std::atomic<int> asked{0};
        LoopbackServer first;
        LoopbackServer second;
        first.on(each.path, [&](const Connection &connection) {
            (asked++ == 0 && each.earlier ? each.earlier : each.old)(connection);
        });
        sDomains = "127.0.0.1:1, " + second.address();
        sAsked = 0;
        const std::string url = first.url(each.url);
        if (each.preloaded) {
            ASSERT_EQ(oriplayer::addPreloadTask(url.c_str(), 8), 0);  // KiB, of about 100
            ASSERT_TRUE(first.awaitRequests(1));
        }
        WatchedPlayer player({url});
        player.play();
        ASSERT_TRUE(support::eventually([&] { return asked >= (each.earlier ? 2 : 1); }));
        const bool stands = each.old.target<std::reference_wrapper<Film>>() != nullptr;
        ASSERT_TRUE(!stands || player.waitForPictures(3));
        change(player);
        ASSERT_TRUE(support::eventually([&] {  // the player may not have come to the source that is being opened ahead
            if (sAsked == 0 && each.preloaded && !stands) change(player);
            return sAsked > 0;
        }));
        EXPECT_TRUE(player.waitForEvent(1001));
        EXPECT_EQ(player.pictures().size() + static_cast<std::size_t>(player.dropped()), each.pictures);
        EXPECT_EQ(player.events(), "306 1000 1017 1001");
        EXPECT_TRUE(sBufferIsZero);
        ASSERT_FALSE(second.requests().empty());
        const Connection request(-1, second.requests()[0]);
        EXPECT_EQ(request.header("Host"), second.address());
        EXPECT_EQ(request.target(), each.pictures == 25 ? each.url : each.path);
        EXPECT_EQ(request.from() > 0, stands) << "it goes on where it stood";
        EXPECT_TRUE(!stands || first.requests().size() + second.requests().size() == 2);
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
        ASSERT_TRUE(support::eventually([] { return sAsked > 0; }));
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
