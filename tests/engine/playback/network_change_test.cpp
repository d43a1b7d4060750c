#include <gtest/gtest.h>
#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iterator>
#include <numeric>

#include "engine/playback/watched_player.h"

namespace test {
namespace {

using support::clip;

/// Serves one file by range on a port of its own, until it is told to stop in the middle of what it sends.
class RangeServer {
public:
    explicit RangeServer(const std::string &path) {
        std::ifstream file(path, std::ios::binary);
        content_.assign(std::istreambuf_iterator<char>(file), {});
        server_.new_task_queue = [] { return new httplib::ThreadPool(4); };
        server_.Get("/film", [this](const httplib::Request &request, httplib::Response &response) {
            host = request.get_header_value("Host");
            query = request.target;
            ++requests;  // behind what it publishes
            response.set_content_provider(content_.size(), "video/x-matroska",
                                          [this](std::size_t offset, std::size_t length, httplib::DataSink &sink) {
                                              return send(offset, length, sink);
                                          });
        });
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        while (!server_.is_running()) std::this_thread::yield();
    }
    ~RangeServer() {
        ending_ = true;
        server_.stop();
        thread_.join();
    }

    std::string address() const { return "127.0.0.1:" + std::to_string(port_); }
    std::string url() const { return "http://" + address() + "/film?id=7"; }
    std::size_t size() const { return content_.size(); }

    /// Bytes of the file behind which nothing more comes: silence, or the end of the connection.
    std::atomic<std::size_t> limit{SIZE_MAX};
    std::atomic<bool> closes{false};
    std::atomic<int> requests{0};
    std::atomic<std::size_t> lowest{SIZE_MAX};  ///< first byte that was sent from here
    std::string host, query;                    ///< of the last request; read behind `requests`

private:
    bool send(std::size_t offset, std::size_t length, httplib::DataSink &sink) {
        std::size_t from = lowest;
        while (offset < from && !lowest.compare_exchange_weak(from, offset)) {}
        while (offset >= limit && !closes) {
            if (ending_ || !sink.is_writable()) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        if (offset >= limit) return false;
        return sink.write(content_.data() + offset, std::min({length, limit - offset, std::size_t{4096}}));
    }

    std::string content_;
    httplib::Server server_;
    int port_ = 0;
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

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
    for (const char *untimed : {"1", "0"}) {
        const PropertyGuard pace(oriplayer::kPropertyUntimed, untimed);
        RangeServer first(film_);
        RangeServer second(film_);
        first.limit = first.size() / 2;
        sDomains = "127.0.0.1:1, " + second.address();
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
