#include <gtest/gtest.h>
#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>
#include <thread>
#include <type_traits>
#include <vector>

#include "base/oriplayer/module.h"
#include "engine/input/loopback.h"
#include "input/source_input.h"
#include "support/clips.h"

namespace {

using namespace oriplayer;

std::string contents(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// A server with the test clips under /clips, as long as it lives.
template <typename Server> class Serving {
public:
    template <typename... Arguments> explicit Serving(Arguments... arguments) : server(arguments...) {
        server.set_mount_point("/clips", std::filesystem::path(support::clip("vod.m3u8")).parent_path().string());
        port_ = server.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server.listen_after_bind(); });
        while (!server.is_running()) std::this_thread::yield();
    }
    ~Serving() {
        server.stop();
        thread_.join();
    }
    std::string url(const std::string &path) const {
        const char *scheme = std::is_same_v<Server, httplib::Server> ? "http" : "https";
        return std::string(scheme) + "://127.0.0.1:" + std::to_string(port_) + path;
    }

    Server server;

private:
    int port_ = 0;
    std::thread thread_;
};

int packetsIn(SourceInput &input) {
    PacketPtr packet(av_packet_alloc());
    SourceInput::Stream stream = SourceInput::Stream::kVideo;
    int count = 0;
    while (input.read(packet.get(), stream) == 0) {
        ++count;
        av_packet_unref(packet.get());
    }
    return count;
}

TEST(Network, AFileIsReadAndSoughtOverHttpWithItsHeaders) {
    std::mutex mutex;
    std::vector<std::string> seen;
    Serving<httplib::Server> serving;
    serving.server.set_logger([&](const httplib::Request &request, const httplib::Response &) {
        std::lock_guard<std::mutex> lock(mutex);
        seen.push_back(request.get_header_value("User-Agent") + '|' + request.get_header_value("X-Token") + '|' +
                       request.get_header_value("Injected"));
    });
    InputOptions options;
    options.userAgent = "tester/1";
    options.headers = {{"X-Token", "abc\r\nInjected: yes"}};
    SourceInput input;
    const MediaError error = input.open(serving.url("/clips/numbered.mp4"), options);
    ASSERT_FALSE(error) << error.text;
    EXPECT_TRUE(input.network());
    EXPECT_TRUE(input.seekable());
    EXPECT_FALSE(input.live());
    EXPECT_GT(input.bytesRead(), 0);
    ASSERT_FALSE(input.seek(9'000'000));
    PacketPtr packet(av_packet_alloc());
    SourceInput::Stream stream = SourceInput::Stream::kAudio;
    while (stream != SourceInput::Stream::kVideo) {
        av_packet_unref(packet.get());
        ASSERT_EQ(input.read(packet.get(), stream), 0);
    }
    EXPECT_EQ(packet->pts, 8'000'000);
    std::lock_guard<std::mutex> lock(mutex);
    ASSERT_FALSE(seen.empty());
    for (const std::string &request : seen) EXPECT_EQ(request, "tester/1|abc  Injected: yes|");
}

TEST(Network, AnHlsListIsReadToItsEndAndSought) {
    Serving<httplib::Server> serving;
    for (const std::string &url :
         {serving.url("/clips/vod.m3u8"), support::clip("vod.m3u8"), serving.url("/clips/fragments.m3u8")}) {
        SourceInput input;
        const MediaError error = input.open(url, {});
        ASSERT_FALSE(error) << error.text;
        EXPECT_NEAR(static_cast<double>(input.durationUs()), 4e6, 50e3);
        EXPECT_TRUE(input.seekable());
        EXPECT_EQ(packetsIn(input), 100);
        const int64_t bytes = input.bytesRead();
        EXPECT_GT(bytes, 10'000);
        for (const int64_t target : {3'500'000, 0, 1'000'000, 2'960'000}) {
            ASSERT_FALSE(input.seek(target));
            PacketPtr packet(av_packet_alloc());
            SourceInput::Stream stream = SourceInput::Stream::kVideo;
            ASSERT_EQ(input.read(packet.get(), stream), 0);
            EXPECT_EQ(packet->pts, target / 1'000'000 * 1'000'000) << target;
            EXPECT_TRUE(packet->flags & AV_PKT_FLAG_KEY);
        }
        EXPECT_GT(input.bytesRead(), bytes);
    }
}

TEST(Network, AnHlsSetBeginsWithTheVariantNamedFirst_OrWithTheOneForTheSpeedKnown) {
    Serving<httplib::Server> serving;
    const auto answer = [](const std::string &text) {
        return [text](const httplib::Request &, httplib::Response &response) {
            response.set_content("#EXTM3U\n" + text, "application/vnd.apple.mpegurl");
        };
    };
    serving.server.Get("/high.m3u8",
                       answer("#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n/clips/mpeg2_mp2.ts\n#EXT-X-ENDLIST\n"));
    const std::string low = "#EXT-X-STREAM-INF:BANDWIDTH=100000\n/clips/vod.m3u8\n";
    const std::string high = "#EXT-X-STREAM-INF:BANDWIDTH=900000\n/high.m3u8\n";
    serving.server.Get("/rising.m3u8", answer(low + high));
    serving.server.Get("/falling.m3u8", answer(high + low));
    for (const char *list : {"/falling.m3u8", "/rising.m3u8"}) {
        SourceInput input;
        const MediaError error = input.open(serving.url(list), {});
        ASSERT_FALSE(error) << error.text;
        ASSERT_TRUE(input.video() && input.audio());
        EXPECT_EQ(input.video()->codecpar->codec_id, AV_CODEC_ID_MPEG2VIDEO) << list;
        SourceInput pieces;
        ASSERT_FALSE(pieces.open(serving.url("/clips/vod.m3u8"), {}));
        packetsIn(pieces);  // from here on the speed is known
    }
}

TEST(Network, AListFromTheNetworkOpensNoLocalFile) {
    Serving<httplib::Server> serving;
    const std::string list =
        "#EXTM3U\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\nfile://" + support::clip("vod.ts") + "\n#EXT-X-ENDLIST\n";
    serving.server.Get("/evil.m3u8", [list](const httplib::Request &, httplib::Response &response) {
        response.set_content(list, "application/vnd.apple.mpegurl");
    });
    SourceInput input;
    EXPECT_TRUE(input.open(serving.url("/evil.m3u8"), {}));
}

TEST(Network, FailuresSayWhatWasTriedAndWhy) {
    Serving<httplib::Server> serving;
    serving.server.Get("/loop",
                       [](const httplib::Request &, httplib::Response &response) { response.set_redirect("/loop"); });
    serving.server.Get("/broken", [](const httplib::Request &, httplib::Response &response) { response.status = 503; });
    std::string refused;
    {
        Loopback gone([](int) {});
        refused = gone.url("/a.mp4");
    }
    struct Case {
        std::string url;
        int native;  // 0: any
        const char *text;
    };
    for (const Case &c : {Case{serving.url("/clips/none.mp4"), AVERROR_HTTP_NOT_FOUND, "404"},
                          Case{serving.url("/broken"), AVERROR_HTTP_SERVER_ERROR, "5XX"},
                          Case{serving.url("/loop"), 0, "/loop"}, Case{refused, AVERROR(ECONNREFUSED), "refused"}}) {
        SourceInput input;
        const MediaError error = input.open(c.url, {});
        EXPECT_TRUE(error) << c.url;
        EXPECT_EQ(input.failure(), SourceInput::Failure::kCannotOpen);
        EXPECT_TRUE(c.native == 0 || c.native == error.native) << error.text;
        EXPECT_NE(error.text.find(c.text), std::string::npos) << error.text;
        EXPECT_NE(error.text.find(c.url), std::string::npos) << error.text;
    }
}

TEST(Network, AServerThatNeverAnswersRunsIntoTheTimeout) {
    Loopback silent([](int) {});
    InputOptions options;
    options.timeoutMs = 300;
    SourceInput input;
    const MediaError error = input.open(silent.url("/a.mp4"), options);
    EXPECT_EQ(error.native, AVERROR(ETIMEDOUT)) << error.text;
    EXPECT_EQ(input.failure(), SourceInput::Failure::kCannotOpen);
}

TEST(Network, AStallInTheMiddleEndsInAnErrorNotInTheEnd) {
    const std::string file = contents(support::clip("vod.ts"));
    Loopback stalling(
        [&](int connection) { answerAndStall(connection, file.size(), file.substr(0, file.size() * 3 / 4)); });
    InputOptions options;
    options.timeoutMs = 2000;
    SourceInput input;
    const MediaError error = input.open(stalling.url("/vod.ts"), options);
    ASSERT_FALSE(error) << error.text;
    PacketPtr packet(av_packet_alloc());
    SourceInput::Stream stream = SourceInput::Stream::kVideo;
    int result = 0;
    while ((result = input.read(packet.get(), stream)) == 0) av_packet_unref(packet.get());
    EXPECT_EQ(result, AVERROR(ETIMEDOUT));
}

TEST(Network, AConnectionThatBreaksIsTakenUpAgain) {
    const std::string file = contents(support::clip("vod.ts"));
    std::atomic<int> requests{0};
    Serving<httplib::Server> serving;
    serving.server.Get("/breaks.ts", [&](const httplib::Request &, httplib::Response &response) {
        const bool breaks = ++requests == 1;
        response.set_header("Accept-Ranges", "bytes");
        response.set_content_provider(file.size(), "video/mp2t",
                                      [&file, breaks](std::size_t offset, std::size_t length, httplib::DataSink &sink) {
                                          const std::size_t piece = std::min<std::size_t>(length, 20'000);
                                          if (breaks && offset > file.size() / 2) return false;
                                          return sink.write(file.data() + offset, piece);
                                      });
    });
    SourceInput input;
    const MediaError error = input.open(serving.url("/breaks.ts"), {});
    ASSERT_FALSE(error) << error.text;
    EXPECT_EQ(packetsIn(input), 100);
    EXPECT_GE(requests, 2);
}

TEST(Network, InterruptEndsABlockedOpenAndABlockedRead) {
    Loopback silent([](int) {});
    SourceInput opening;
    std::thread interrupter([&] {
        silent.awaitServed();
        opening.interrupt();
    });
    EXPECT_EQ(opening.open(silent.url("/a.mp4"), {}).native, AVERROR_EXIT);
    interrupter.join();
    EXPECT_EQ(opening.open(support::clip("numbered.mp4"), {}).native, AVERROR_EXIT) << "refuses what comes later";

    const std::string file = contents(support::clip("vod.ts"));
    Loopback stalling([&](int connection) { answerAndStall(connection, file.size() * 2, file); });
    SourceInput reading;
    ASSERT_FALSE(reading.open(stalling.url("/vod.ts"), {}));
    PacketPtr packet(av_packet_alloc());
    SourceInput::Stream stream = SourceInput::Stream::kVideo;
    std::atomic<int> read{0};
    std::thread stopper([&] {
        while (read < 90) std::this_thread::yield();  // 100 are there: the reader is about to wait for more
        reading.interrupt();
    });
    int result = 0;
    while ((result = reading.read(packet.get(), stream)) == 0) {
        ++read;
        av_packet_unref(packet.get());
    }
    read = 1000;
    stopper.join();
    EXPECT_EQ(result, AVERROR_EXIT);
}

TEST(Network, CertificatesAreVerified) {
    const std::string directory = CERTIFICATE_DIRECTORY "/";
    const auto serve = [&](const std::string &name) {
        return std::make_unique<Serving<httplib::SSLServer>>((directory + name + ".pem").c_str(),
                                                             (directory + name + ".key").c_str());
    };
    const auto good = serve("good");
    const auto bad = serve("bad");
    InputOptions trusting;
    trusting.caFile = directory + "ca.pem";
    struct Case {
        std::string url;
        InputOptions options;
        bool opens;
    };
    const std::string segment = good->url("/clips/vod.ts");
    const std::string list = "#EXTM3U\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\n" + segment + "\n#EXT-X-ENDLIST\n";
    Serving<httplib::Server> plain;
    plain.server.Get("/list.m3u8", [list](const httplib::Request &, httplib::Response &response) {
        response.set_content(list, "application/vnd.apple.mpegurl");
    });
    for (const Case &c :
         {Case{good->url("/clips/numbered.mp4"), trusting, true},
          Case{good->url("/clips/numbered.mp4"), {}, false},       // not the system's authority
          Case{bad->url("/clips/numbered.mp4"), trusting, false},  // another host's certificate
          Case{good->url("/clips/vod.m3u8"), trusting, true}, Case{plain.url("/list.m3u8"), trusting, true},
          Case{plain.url("/list.m3u8"), {}, false}}) {  // sub-requests are verified as well
        SourceInput input;
        const MediaError error = input.open(c.url, c.options);
        EXPECT_EQ(!error, c.opens) << c.url << ' ' << error.text;
    }
}

TEST(ProbeUrl, TellsLengthStreamsAndErrorsInTime) {
    Serving<httplib::Server> serving;
    ProbeResult result;
    ASSERT_EQ(probeUrl(serving.url("/clips/two_languages.mkv").c_str(), {}, result), 0) << result.error;
    EXPECT_NEAR(static_cast<double>(result.durationMs),
                static_cast<double>(support::expected("two_languages.mkv").durationMs), 1.0);
    EXPECT_FALSE(result.live);
    ASSERT_EQ(result.streams.size(), 3u);
    EXPECT_EQ(result.streams[0].codec, "h264");
    EXPECT_EQ(result.streams[0].width, 320);
    EXPECT_EQ(result.streams[0].frameRate, 25.0);
    EXPECT_EQ(result.streams[2].language, "deu");
    EXPECT_EQ(result.streams[2].sampleRate, 48000);

    EXPECT_EQ(probeUrl(serving.url("/none").c_str(), {}, result), -1);
    EXPECT_EQ(result.nativeError, AVERROR_HTTP_NOT_FOUND);
    EXPECT_EQ(probeUrl(nullptr, {}, result), -1);
    EXPECT_TRUE(result.streams.empty());

    Loopback silent([](int) {});
    ProbeOptions options;
    options.timeoutMs = 200;
    EXPECT_EQ(probeUrl(silent.url("/").c_str(), options, result), -1);
    EXPECT_EQ(result.nativeError, AVERROR(ETIMEDOUT)) << result.error;
    std::atomic<bool> cancel{true};
    options = {};
    options.cancel = &cancel;
    EXPECT_EQ(probeUrl(silent.url("/").c_str(), options, result), -1);
    EXPECT_EQ(result.nativeError, AVERROR_EXIT) << result.error;
}

}  // namespace
