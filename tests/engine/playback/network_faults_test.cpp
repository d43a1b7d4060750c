#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <numeric>
#include <set>

#include "engine/playback/watched_player.h"

namespace test {
namespace {

using namespace oriplayer;
using support::clip;
using Request = httplib::Request;
using Response = httplib::Response;

constexpr char kListType[] = "application/vnd.apple.mpegurl";

std::string contents(const std::string &name) {
    std::ifstream file(clip("vod.m3u8").substr(0, clip("vod.m3u8").rfind('/') + 1) + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<int> numbersTo(int count) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

class NetworkFaults : public testing::Test {
protected:
    void SetUp() override {
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        while (!server_.is_running()) std::this_thread::yield();
    }
    void TearDown() override {
        server_.stop();
        thread_.join();
    }
    std::string url(const std::string &path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }
    void serveText(const std::string &path, const std::string &text) {
        server_.Get(path, [text](const Request &, Response &response) { response.set_content(text, kListType); });
    }
    void serveClip(const std::string &name) {
        server_.Get("/" + name,
                    [name](const Request &, Response &response) { response.set_content(contents(name), "video/x"); });
    }
    /// A clip of which half comes at first; what is asked for by range comes whole.
    void serveBreaking(const std::string &pattern) {
        server_.Get(pattern, [this](const Request &request, Response &response) {
            const std::string body = contents(request.matches[1]);
            const bool first = !request.has_header("Range") || request.get_header_value("Range") == "bytes=0-";
            ++(first ? broken_ : resumed_);
            response.set_header("Accept-Ranges", "bytes");
            response.set_content_provider(
                body.size(), "video/x", [body, first](std::size_t offset, std::size_t length, httplib::DataSink &sink) {
                    if (first && offset >= body.size() / 2) return false;
                    return sink.write(body.data() + offset, std::min(length, body.size() / 4));
                });
        });
    }
    /// The body comes in chunks, of unknown length in all.
    void serveInChunks(const std::string &path, const std::string &body) {
        server_.Get(path, [body](const Request &, Response &response) {
            response.set_chunked_content_provider("video/x", [body](std::size_t offset, httplib::DataSink &sink) {
                const std::size_t count = std::min<std::size_t>(body.size() - offset, 10'000);
                if (count == 0) return sink.done(), true;
                return sink.write(body.data() + offset, count);
            });
        });
    }

    httplib::Server server_;
    std::atomic<int> broken_{0};
    std::atomic<int> resumed_{0};
    const PropertyGuard untimed_{kPropertyUntimed, "1"};

private:
    int port_ = 0;
    std::thread thread_;
};

TEST_F(NetworkFaults, ABodyOfUnknownSizeIsMeasuredByThePromisedLength) {
    serveInChunks("/second.ts", contents("mpeg2_mp2.ts"));
    struct Case {
        const char *path;
        double declaredSeconds;
        const char *events;
        const char *why;
    };
    for (const Case &c : {Case{"/second.ts", 0.0, "306 1000 1017 1001", "nothing was promised"},
                          Case{"/second.ts", 1.5, "306 1000 1017 1001", "rounded"},
                          Case{"/second.ts", 10.0, "306 1000 1017 503", "nine seconds are missing"}}) {
        WatchedPlayer player({});
        player->addSource(0, ISource::create(url(c.path).c_str(), c.declaredSeconds), std::make_shared<StringMap>());
        player->prepareAsync();
        player->start();
        EXPECT_TRUE(player.waitForEvent(std::string(c.events).ends_with("503") ? 503 : 1001)) << c.why;
        EXPECT_EQ(player.events(), c.events) << c.why;
        EXPECT_EQ(player.pictures().size(), 25u) << c.why;
    }
}

TEST_F(NetworkFaults, AMissingSegmentIsGoneOverInTheMiddleAndAnErrorAtTheEnd) {
    serveText("/list.m3u8", contents("variant_low.m3u8"));
    for (const int segment : {0, 2, 3, 4}) serveClip("variant_low" + std::to_string(segment) + ".ts");
    WatchedPlayer player({url("/list.m3u8")});
    player->prepareAsync();
    player->start();
    EXPECT_EQ(player.waitForFailure(), 503) << player.events();
    std::vector<int> all = numbersTo(125);
    all.erase(all.begin() + 25, all.begin() + 50);
    EXPECT_EQ(player.numbers(), all);
}

TEST_F(NetworkFaults, ASegmentThatBreaksIsTakenUpWhereItStood) {
    serveText("/list.m3u8", contents("variant_low.m3u8"));
    serveBreaking(R"(/(variant_low\d\.ts))");
    WatchedPlayer player({url("/list.m3u8")});
    ASSERT_TRUE(player.playToEnd()) << player.events();
    EXPECT_EQ(player.numbers(), numbersTo(150));
    EXPECT_EQ(broken_, 6);
    EXPECT_EQ(resumed_, 6);
}

TEST_F(NetworkFaults, NothingFromTheNetworkOpensALocalFile) {
    const std::string file = clip("vod.ts");
    const std::string head = "#EXTM3U\n#EXT-X-TARGETDURATION:4\n";
    const std::string segment = "#EXTINF:4,\n";
    const std::string bodies[] = {
        head + segment + file + "\n#EXT-X-ENDLIST\n",
        head + segment + "file://" + file + "\n#EXT-X-ENDLIST\n",
        head + segment + "crypto:file:" + file + "\n#EXT-X-ENDLIST\n",
        head + segment + "concat:" + file + "|" + file + "\n#EXT-X-ENDLIST\n",
        head + segment + "subfile,,start,0,end,0,,:" + file + "\n#EXT-X-ENDLIST\n",
        head + "#EXT-X-MAP:URI=\"file://" + file + "\"\n" + segment + "/vod.ts\n#EXT-X-ENDLIST\n",
        "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\nfile://" + clip("vod.m3u8") + "\n",
        "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\n/self\n",
        "ffconcat version 1.0\nfile '" + file + "'\n",
        "ffconcat version 1.0\nfile 'file:" + file + "'\n",
        "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 9 RTP/AVP 96\n",
    };
    const PropertyGuard timeout(kPropertyNetworkTimeout, "3000");
    std::string now;
    std::mutex mutex;
    const auto answer = [&](const Request &, Response &response) {
        const std::lock_guard lock(mutex);
        response.set_content(now, kListType);
    };
    server_.Get("/evil", answer);
    server_.Get("/self", answer);
    serveClip("vod.ts");
    for (const std::string &body : bodies) {
        {
            const std::lock_guard lock(mutex);
            now = body;
        }
        WatchedPlayer player({url("/evil")});
        player->prepareAsync();
        player->start();
        const int failure = player.waitForFailure();
        EXPECT_TRUE(failure == 501 || failure == 502) << body << player.events();
        EXPECT_TRUE(player.pictures().empty()) << body;
    }
}

TEST_F(NetworkFaults, EverySubRequestCarriesAgentAndHeaders) {
    std::mutex mutex;
    std::set<std::string> seen;
    server_.set_logger([&](const Request &request, const Response &) {
        const std::lock_guard lock(mutex);
        seen.insert(request.path + ' ' + request.get_header_value("User-Agent") + ' ' +
                    request.get_header_value("X-Token"));
    });
    server_.Get("/start", [](const Request &, Response &response) { response.set_redirect("/list.m3u8"); });
    server_.Get("/moved.ts", [](const Request &, Response &response) { response.set_redirect("/locked.ts"); });
    serveText("/list.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXT-X-KEY:METHOD=AES-128,URI=\"/key\",IV=0x" +
                                std::string(32, '0') + "\n#EXTINF:1,\n/moved.ts\n#EXT-X-ENDLIST\n");
    serveText("/key", std::string(16, 'k'));
    serveBreaking("/(locked.ts)");
    WatchedPlayer player({url("/start")}, 0, {{"http_header:X-Token", "abc"}});
    player->setUserAgent("trial-agent");
    ASSERT_TRUE(player.playToEnd()) << player.events();
    EXPECT_EQ(player.numbers(), numbersTo(25));
    EXPECT_EQ(resumed_, 1) << "an encrypted segment is taken up as well";
    std::set<std::string> expected;
    for (const char *path : {"/start", "/list.m3u8", "/key", "/moved.ts", "/locked.ts"}) {
        expected.insert(std::string(path) + " trial-agent abc");
    }
    const std::lock_guard lock(mutex);
    EXPECT_EQ(seen, expected);
}

TEST(HostileStreams, TooManyStreamsAndTooBigPicturesAreErrors) {
    for (const char *name : {"many_streams.mkv", "giant.ts"}) {
        WatchedPlayer player({clip(name)});
        player->prepareAsync();
        player->start();
        EXPECT_NE(player.waitForFailure(), 0) << name << player.events();
        EXPECT_TRUE(player.pictures().empty()) << name;
    }
}

}  // namespace
}  // namespace test
