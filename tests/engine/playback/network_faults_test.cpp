#include <gtest/gtest.h>

#include <chrono>
#include <numeric>
#include <set>

#include "engine/playback/loopback_server.h"
#include "engine/playback/watched_player.h"
#include "support/eventually.h"
#include "support/temporary_folder.h"

// What is seen of each fault of a network, and within which time; docs/limits.md has the same table for users.

namespace test {
namespace {

using namespace oriplayer;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using support::clip;

constexpr char kFilm[] = "sound_longer.mkv";  // 25 pictures; its streams are known from its first bytes

// Property 9007 where it is waited for, 8 s elsewhere.
constexpr int kTimeoutMs = 2000;
constexpr milliseconds kAtOnce{0};
constexpr milliseconds kTimeout{kTimeoutMs};
constexpr milliseconds kThreeTries{1300};  // 0, 0.3 and 1 s
// For what the processor does, a tenth of this on a machine of its own. Less than a time-out: a second one would show.
constexpr milliseconds kSlack{1900};
static_assert(kSlack < kTimeout);

constexpr char kPlayed[] = "306 1000 1017 1001";
constexpr char kBrokenOff[] = "306 1000 1017 503";
constexpr int kSome = -1;  // pictures

std::string list(const std::string &segments, const char *end = "#EXT-X-ENDLIST\n") {
    return "#EXTM3U\n#EXT-X-TARGETDURATION:1\n" + segments + end;
}
std::string segment(const std::string &uri) {
    return "#EXTINF:1,\n" + uri + "\n";
}

struct Seen {
    const char *events;
    int pictures;
    const char *text;  ///< in the error
    milliseconds within;
};

class NetworkFaults : public testing::Test {
protected:
    void expect(const std::string &fault, const std::string &url, const Seen &seen, double declaredSeconds = 0.0) {
        SCOPED_TRACE(fault);
        WatchedPlayer player({});
        player->addSource(0, ISource::create(url.c_str(), declaredSeconds), std::make_shared<StringMap>());
        const auto begin = steady_clock::now();
        player->prepareAsync();
        player->start();
        const bool played = std::string(seen.events) == kPlayed;
        EXPECT_TRUE(played ? player.waitForEvent(1001) : player.waitForFailure() != 0);
        const auto took = std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin);
        EXPECT_LT(took.count(), (seen.within + kSlack).count());
        EXPECT_GE(took, seen.within == kTimeout ? kTimeout : kAtOnce) << "it is not given up before";
        EXPECT_EQ(player.events(), seen.events);
        EXPECT_NE(player.record->events.back().text.find(seen.text), std::string::npos)
            << player.record->events.back().text;
        const int shown = static_cast<int>(player.pictures().size());
        EXPECT_TRUE(seen.pictures == kSome ? shown > 3 : shown == seen.pictures) << shown;
    }

    LoopbackServer server_;
    const PropertyGuard untimed_{kPropertyUntimed, "1"};
};

TEST_F(NetworkFaults, WhatCannotBeOpened) {
    std::string refused;
    {
        const LoopbackServer gone;
        refused = gone.url();
    }
    server_.on("/broken", answer("", "503 Service Unavailable"));
    server_.on("/circle", redirect("/circle"));
    server_.on("/silent", &Connection::silence);
    server_.on("/silent.ts", &Connection::silence);
    server_.on("/slow", [](const Connection &connection) {
        if (connection.pause(kTimeoutMs * 7 / 10)) redirect("/slow")(connection);
    });
    server_.on("/trickle", [](const Connection &connection) {
        connection.send("HTTP/1.1 200 OK\r\n");
        while (connection.pause(kTimeoutMs / 4) && connection.send("X-More: yes\r\n")) {}
    });
    server_.on("/dripping", [](const Connection &connection) {
        connection.send("HTTP/1.1 200 OK\r\n\r\n");
        while (connection.pause(kTimeoutMs / 4) && connection.send(clipBytes(kFilm).substr(0, 1))) {}
    });
    server_.on("/list.m3u8", answer(list(segment("/silent.ts"))));
    const struct {
        const char *fault;
        std::string url;
        const char *text;
        milliseconds within;
    } cases[] = {{"refused", refused, "refused", kAtOnce},
                 {"not found", server_.url("/none"), "404", kAtOnce},
                 {"a server's fault", server_.url("/broken"), "5XX", kAtOnce},
                 {"redirections in a circle", server_.url("/circle"), "/circle", kAtOnce},
                 {"no answer", server_.url("/silent"), "timed out", kTimeout},
                 {"each redirection is in time, all are not", server_.url("/slow"), "timed out", kTimeout},
                 {"each line of the head is in time", server_.url("/trickle"), "timed out", kTimeout},
                 {"each byte of the body is in time", server_.url("/dripping"), "timed out", kTimeout},
                 {"no TLS", "https://" + server_.address() + "/silent", "timed out", kTimeout},
                 {"a list of which no segment comes", server_.url("/list.m3u8"), "timed out", kTimeout}};
    for (const auto &each : cases) {
        const PropertyGuard timeout(kPropertyNetworkTimeout,
                                    each.within == kTimeout ? std::to_string(kTimeoutMs).c_str() : "");
        expect(each.fault, each.url, {"501", 0, each.text, each.within});
    }
}

TEST_F(NetworkFaults, WhatBreaksInTheMiddle) {
    using End = Film::End;
    enum class Again { kSame, kWhole, kNever, kThirdTime, kOther };
    const struct {
        const char *fault;
        End end;
        bool ranges;
        Again again;  ///< what is there when it is asked for from where it stood
        Seen seen;
    } cases[] = {{"silence", End::kSilence, true, Again::kSame, {kBrokenOff, kSome, "timed out", kTimeout}},
                 {"silence, no ranges", End::kSilence, false, Again::kSame, {kBrokenOff, kSome, "timed out", kTimeout}},
                 {"silence once", End::kSilence, true, Again::kWhole, {kPlayed, 25, "", kTimeout / 2}},
                 {"a reset once", End::kReset, true, Again::kWhole, {kPlayed, 25, "", kAtOnce}},
                 {"an end once", End::kClose, true, Again::kWhole, {kPlayed, 25, "", kAtOnce}},
                 {"a server that restarts", End::kReset, true, Again::kThirdTime, {kPlayed, 25, "", kThreeTries}},
                 {"resets", End::kReset, true, Again::kSame, {kBrokenOff, kSome, "", kThreeTries}},
                 {"ends", End::kClose, true, Again::kSame, {kBrokenOff, kSome, "", kThreeTries}},
                 {"a server that is gone", End::kReset, true, Again::kNever, {kBrokenOff, kSome, "", kThreeTries}},
                 {"a short body, no ranges", End::kClose, false, Again::kSame, {kBrokenOff, kSome, "", kAtOnce}},
                 {"another file by now", End::kClose, true, Again::kOther, {kBrokenOff, kSome, "", kAtOnce}}};
    for (const auto &each : cases) {
        Film film(clipBytes(kFilm));
        Film other(clipBytes("numbered.mp4"));
        film.limit = film.size() / 2;
        film.end = each.end;
        film.ranges = each.ranges;
        std::atomic<int> tries{0};
        LoopbackServer server;
        server.on("/film", [&](const Connection &connection) {
            const int count = connection.from() == 0 ? 0 : ++tries;
            const bool gone =
                count > 0 && (each.again == Again::kNever || (each.again == Again::kThirdTime && count < 3));
            if (gone) return answer("", "503 Service Unavailable")(connection);
            if (count > 0 && each.again == Again::kOther) return other(connection);
            if (count > 0 && each.again != Again::kSame) film.limit = SIZE_MAX;
            film(connection);
        });
        const bool waits = each.seen.within >= kTimeout / 2 && each.seen.within != kThreeTries;
        const PropertyGuard timeout(kPropertyNetworkTimeout, waits ? std::to_string(kTimeoutMs).c_str() : "");
        expect(each.fault, server.url(), each.seen);
        const bool threeTries = each.seen.within == kThreeTries;
        // What a reset takes away of what was sent counts as progress when it comes again.
        EXPECT_TRUE(!threeTries || tries == 3 || tries == 4) << each.fault << ": " << tries;
    }
}

TEST_F(NetworkFaults, ASegmentOfAFileIsTakenUpWhereItBroke) {
    std::string all;
    std::string segments;
    for (int i = 0; i < 6; ++i) {
        const std::string one = clipBytes("variant_low" + std::to_string(i) + ".ts");
        segments += "#EXT-X-BYTERANGE:" + std::to_string(one.size()) + '@' + std::to_string(all.size()) + '\n' +
                    segment("/film");
        all += one;
    }
    for (const auto end : {Film::End::kClose, Film::End::kReset, Film::End::kSilence}) {
        SCOPED_TRACE(static_cast<int>(end));
        const PropertyGuard timeout(kPropertyNetworkTimeout, std::to_string(kTimeoutMs).c_str());
        Film film(all);
        film.limit = film.size() / 2;
        film.end = end;
        LoopbackServer server;
        server.on("/list.m3u8", answer(list(segments)));
        server.on("/film", [&](const Connection &connection) {
            if (connection.from() == film.limit) film.limit = SIZE_MAX;
            film(connection);
        });
        WatchedPlayer player({server.url("/list.m3u8")});
        ASSERT_TRUE(player.playToEnd()) << player.events();
        std::vector<int> expected(150);
        std::iota(expected.begin(), expected.end(), 0);
        EXPECT_EQ(player.numbers(), expected);
    }
}

TEST_F(NetworkFaults, AFaultDuringTheProbeIsOver) {
    std::string body;
    for (int i = 0; i < 4; ++i) body += clipBytes("vod.ts");
    Film film(body);
    std::atomic<int> refused{0};
    server_.on("/film", [&](const Connection &connection) {
        const bool last = connection.from() > body.size() / 2;  // where the length of the programme is looked up
        if (last && ++refused) return answer("", "403 Forbidden")(connection);
        film(connection);
    });
    WatchedPlayer player({server_.url()});
    EXPECT_TRUE(player.playToEnd()) << player.events();
    EXPECT_GT(refused, 0);
}

TEST_F(NetworkFaults, WhatEndsEarlyOrIsMissing) {
    const std::string body = clipBytes("mpeg2_mp2.ts");
    server_.on("/chunks", [&](const Connection &connection) {
        connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
        for (std::size_t at = 0; at < body.size(); at += 4096) {
            const std::string piece = body.substr(at, 4096);
            char size[16];
            std::snprintf(size, sizeof size, "%zx\r\n", piece.size());
            connection.send(size + piece + "\r\n");
        }
        connection.send("0\r\n\r\n");
    });
    for (const char *path : {"/bare", "/bare0.ts", "/bare1.ts"}) {
        server_.on(path, [&, path](const Connection &connection) {
            const std::string number(1, path[5]);
            connection.send("HTTP/1.1 200 OK\r\n\r\n" + (path[5] ? clipBytes("variant_low" + number + ".ts") : body));
        });
    }
    expect("neither size nor chunks", server_.url("/bare"), {kPlayed, 25, "", kAtOnce});
    server_.on("/bare.m3u8", answer(list(segment("/bare0.ts") + segment("/bare1.ts"))));
    expect("segments of that kind", server_.url("/bare.m3u8"), {kPlayed, 50, "", kAtOnce});
    expect("unknown size, unknown length", server_.url("/chunks"), {kPlayed, 25, "", kAtOnce});
    expect("unknown size, a rounded length", server_.url("/chunks"), {kPlayed, 25, "", kAtOnce}, 1.5);
    expect("nine seconds are missing", server_.url("/chunks"), {kBrokenOff, 25, "broke off", kAtOnce}, 10.0);
    for (const char *missing : {"1", "5"}) {
        LoopbackServer server;
        server.on(std::string("/variant_low") + missing + ".ts", answer("", "404 Not Found"));
        const bool last = *missing == '5';
        expect(last ? "no last segment" : "no second segment", server.url("/variant_low.m3u8"),
               {last ? kBrokenOff : kPlayed, 125, "", kAtOnce});
    }
    const PropertyGuard timeout(kPropertyNetworkTimeout, "500");  // four times as long for a list that is still growing
    server_.on("/live.m3u8", answer(list(segment("/variant_low0.ts") + segment("/variant_low1.ts"), "")));
    expect("a list that does not grow", server_.url("/live.m3u8"), {kBrokenOff, kSome, "timed out", kTimeout});
}

TEST_F(NetworkFaults, NothingFromTheNetworkOpensALocalFile) {
    const std::string file = clip("vod.ts");
    const std::string bodies[] = {
        list(segment(file)),
        list(segment("file://" + file)),
        list(segment("crypto:file:" + file)),
        list(segment("concat:" + file + "|" + file)),
        list(segment("subfile,,start,0,end,0,,:" + file)),
        list("#EXT-X-MAP:URI=\"file://" + file + "\"\n" + segment("/vod.ts")),
        "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\nfile://" + clip("vod.m3u8") + "\n",
        "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\n/evil\n",  // a set in itself
        "ffconcat version 1.0\nfile '" + file + "'\n",
        "ffconcat version 1.0\nfile 'file:" + file + "'\n",
        "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 9 RTP/AVP 96\n",
    };
    for (const std::string &body : bodies) {
        server_.on("/evil", answer(body, "200 OK", "Content-Type: application/vnd.apple.mpegurl\r\n"));
        const auto before = server_.requests().size();
        expect(body, server_.url("/evil"), {"501", 0, "", kAtOnce});
        EXPECT_LT(server_.requests().size() - before, 10u) << body;
    }
}

TEST_F(NetworkFaults, TooManyStreamsAndTooBigPictures) {
    expect("1,000 streams", clip("many_streams.mkv"), {"501", 0, "more than 200 streams", kAtOnce});
    expect("a picture of 16384 lines", clip("giant.ts"), {"504", 0, "", kAtOnce});
}

// It takes 100 ms. The bound leaves room for a loaded machine and is far from the time-out that is under way.
TEST_F(NetworkFaults, AStopWaitsForNoneOfThem_AndLetsTheConnectionGo) {
    Film half(clipBytes(kFilm));
    half.limit = half.size() / 2;
    LoopbackServer server;
    server.on("/half", std::ref(half));
    server.on("/silent", &Connection::silence);
    server.on("/silent.ts", &Connection::silence);
    server.on("/moved", redirect("/silent"));
    server.on("/list.m3u8", answer(list(segment("/variant_low0.ts") + segment("/silent.ts"))));
    for (const std::string &url : {server.url("/silent"), server.url("/moved"), server.url("/half"),
                                   server.url("/list.m3u8"), "https://" + server.address() + "/"}) {
        SCOPED_TRACE(url);
        WatchedPlayer player({url});
        player->prepareAsync();
        player->start();
        const bool plays = url == server.url("/half") || url == server.url("/list.m3u8");
        ASSERT_TRUE(!plays || player.waitForPictures(3));
        ASSERT_TRUE(support::eventually([&] { return server.open() > 0; }));
        const auto begin = steady_clock::now();
        player->stop(true);
        EXPECT_LT(steady_clock::now() - begin, milliseconds(4000));
        const std::string events = player.events();
        player.letGo();
        while (server.open() > 0 && steady_clock::now() - begin < milliseconds(4000)) std::this_thread::yield();
        EXPECT_EQ(server.open(), 0u);
        EXPECT_EQ(player.events(), events);
    }
}

TEST_F(NetworkFaults, APreloadedSourceThatStallsIsHadAtOnce_AndGoesOnWhereItStood) {
    Film half(clipBytes(kFilm));
    half.limit = half.size() / 2;
    LoopbackServer server;
    server.on("/film", std::ref(half));
    std::atomic<bool> warm{false};
    const auto told = [](void *context, int, int, int, const char *) {
        *static_cast<std::atomic<bool> *>(context) = true;
    };
    WatchedPlayer player({server.url()});
    player->setUserAgent("trial-agent");  // preloading uses the agent that any player was given last
    ASSERT_EQ(addPreloadTask(server.url().c_str(), "id", told, &warm), 0);
    ASSERT_TRUE(support::eventually([&] { return warm.load(); }));  // it reads ahead from now on, and stalls
    const auto begin = steady_clock::now();
    player->prepareAsync();
    player->start();
    ASSERT_TRUE(player.waitForPictures(4)) << "one more than was decoded ahead";
    EXPECT_LT(steady_clock::now() - begin, kSlack);
    half.limit = SIZE_MAX;
    ASSERT_TRUE(player.waitForEvent(1001)) << player.events();
    EXPECT_EQ(player.pictures().size(), 25u);
    EXPECT_EQ(server.requests().size(), 1u);
}

// A decoder of many threads, or of a codec that reorders, gives a picture only when it gets more packets.
TEST_F(NetworkFaults, AStalledDownloadShowsEveryPictureUpToTheFirstThatWasNotRead) {
    const PropertyGuard threads(kPropertyDecoderThreads, "16");
    const support::TemporaryFolder folder;
    for (const char *name : {"sound_longer.mkv", "bframes.mkv", "vp9_opus.webm", "av1_opus.mkv"}) {
        for (const char *untimed : {"1", ""}) {
            SCOPED_TRACE(std::string(name) + untimed);
            Film film(clipBytes(name));
            film.limit = film.size() * 3 / 5;
            LoopbackServer server;
            WatchedPlayer beginning({folder.write(name, clipBytes(name).substr(0, film.limit))});
            ASSERT_TRUE(beginning.playToEnd());
            std::size_t shown = 0;
            for (const int number : beginning.numbers()) shown += number == static_cast<int>(shown) ? 1 : 0;
            ASSERT_GT(shown, 8u);
            setProperty(kPropertyUntimed, untimed);
            server.on("/film", std::ref(film));
            WatchedPlayer player({server.url()});
            player.play();
            const auto seen = [&] { return player.pictures().size() + static_cast<std::size_t>(player.dropped()); };
            EXPECT_TRUE(support::eventually([&] { return seen() >= shown; })) << seen() << " of " << shown;
            film.limit = SIZE_MAX;
            ASSERT_TRUE(player.waitForEvent(1001)) << player.events();
            const auto numbers = player.numbers();
            EXPECT_EQ(seen(), static_cast<std::size_t>(support::expected(name).pictures));
            EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end(), std::less_equal<>())) << "each once";
            setProperty(kPropertyUntimed, "1");
        }
    }
}

TEST_F(NetworkFaults, ALineSlowerThanTheMediumStallsOnceForLongAndLosesNoPicture) {
    const PropertyGuard timed(kPropertyUntimed, "");
    Film film(clipBytes(kFilm));
    film.pauseMs = 100;  // a fifth of its speed
    server_.on("/slow", std::ref(film));
    WatchedPlayer player({server_.url("/slow")});
    ASSERT_TRUE(player.playToEnd()) << player.events();
    EXPECT_EQ(player.pictures().size(), 25u);
    EXPECT_TRUE(std::string(player.parameter(4003).getCString(-1)).ends_with("stalls:1,"));
}

TEST_F(NetworkFaults, EverySubRequestCarriesAgentAndHeaders) {
    Film locked(clipBytes("locked.ts"));
    locked.limit = locked.size() / 2;
    locked.end = Film::End::kClose;
    LoopbackServer server;
    LoopbackServer other;
    server.on("/stream/7", redirect("/list.m3u8"));
    server.on("/list.m3u8",
              answer(list(segment(other.url("/variant_low0.ts")) + "#EXT-X-KEY:METHOD=AES-128,URI=\"/key\",IV=0x" +
                          std::string(32, '0') + "\n" + segment("/moved.ts")),
                     "200 OK", "Set-Cookie: visit=1\r\n"));
    server.on("/key", answer(std::string(16, 'k')));
    server.on("/moved.ts", redirect("/locked.ts"));
    server.on("/locked.ts", [&](const Connection &connection) {
        if (connection.from() > 0) locked.limit = SIZE_MAX;  // an encrypted segment is taken up as well
        locked(connection);
    });
    WatchedPlayer player({""}, 0,
                         {{"datasource_live_type", "3"},
                          {"qzrtp_download_ip", "127.0.0.1"},
                          {"qzrtp_download_host", "live.example"},
                          {"qzrtp_download_httpport", std::to_string(server.port())},
                          {"qzrtp_download_stream_id", "stream/7"},
                          {"qzrtp_download_token", "secret"},
                          {"http_header:Authorization", "Bearer abc"},
                          {"http_header:Cookie", "session=1"},
                          {"http_header:X-Token", "abc\r\nInjected: yes"}});
    player->setUserAgent("trial-agent");
    ASSERT_TRUE(player.playToEnd()) << player.events();
    EXPECT_EQ(player.pictures().size(), 50u);
    const auto elsewhere = other.requests();
    ASSERT_EQ(elsewhere.size(), 1u);
    for (const char *secret : {"Authorization", "Cookie", "Host: live"}) {
        EXPECT_EQ(elsewhere[0].find(secret), std::string::npos) << elsewhere[0];
    }
    const auto requests = server.requests();
    EXPECT_TRUE(requests[0].starts_with("GET /stream/7?token=secret "));
    EXPECT_NE(requests[0].find("\r\nHost: live.example\r\n"), std::string::npos);
    std::set<std::string> paths;
    for (const std::string &head : requests) {
        const Connection request(-1, head);
        paths.insert(request.path());
        EXPECT_EQ(request.header("User-Agent"), "trial-agent") << head;
        EXPECT_EQ(request.header("X-Token"), "abc  Injected: yes") << head;
        EXPECT_EQ(request.header("Authorization"), "Bearer abc") << head;
    }
    EXPECT_EQ(paths, (std::set<std::string>{"/stream/7", "/list.m3u8", "/key", "/moved.ts", "/locked.ts"}));
}

TEST_F(NetworkFaults, UserAndPasswordOfTheUrlGoWithEveryRequest) {
    const struct {
        const char *challenge;
        const char *answer;
    } cases[] = {{"Basic realm=\"films\"", "Basic dXNlcjpwJHc="},
                 {"Digest realm=\"films\", nonce=\"1\", qop=\"auth\"", "Digest username=\"user\""}};
    for (const auto &each : cases) {
        for (const char *path : {"/film", "/list.m3u8"}) {
            SCOPED_TRACE(std::string(each.challenge) + path);
            Film film(clipBytes(kFilm));
            film.limit = film.size() / 2;
            film.end = Film::End::kClose;
            std::atomic<int> answered{0};
            LoopbackServer server;
            const auto guarded = [&](const Answer &open) {
                return [&each, open](const Connection &connection) {
                    if (connection.header("Authorization").starts_with(each.answer)) return open(connection);
                    answer("", "401 Unauthorized",
                           std::string("WWW-Authenticate: ") + each.challenge + "\r\n")(connection);
                };
            };
            server.on("/film", guarded([&](const Connection &connection) {
                          if (++answered > 1) film.limit = SIZE_MAX;
                          film(connection);
                      }));
            server.on("/list.m3u8", guarded(answer(list(segment("/low0") + segment("low1")))));
            server.on("/low0", guarded(answer(clipBytes("variant_low0.ts"))));
            server.on("/low1", guarded(answer(clipBytes("variant_low1.ts"))));
            WatchedPlayer player({"http://user:p$w@" + server.address() + path});
            EXPECT_TRUE(player.playToEnd()) << player.events();
            EXPECT_EQ(player.pictures().size(), path == std::string("/film") ? 25u : 50u);
        }
    }
}

}  // namespace
}  // namespace test
