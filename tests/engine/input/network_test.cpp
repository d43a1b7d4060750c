#include <gtest/gtest.h>
#include <httplib.h>

#include <filesystem>
#include <thread>

#include "base/oriplayer/module.h"
#include "base/oriplayer/player.h"
#include "engine/playback/loopback_server.h"
#include "input/source_input.h"
#include "support/decimal_comma.h"

namespace {

using namespace oriplayer;
using test::answer;
using test::LoopbackServer;

/// A server of the clips over TLS, with a certificate of this name.
class TlsServer {
public:
    explicit TlsServer(const std::string &name)
        : server_((CERTIFICATE_DIRECTORY "/" + name + ".pem").c_str(),
                  (CERTIFICATE_DIRECTORY "/" + name + ".key").c_str()) {
        server_.set_mount_point("/", std::filesystem::path(support::clip("vod.m3u8")).parent_path().string());
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        while (!server_.is_running()) std::this_thread::yield();
    }
    ~TlsServer() {
        server_.stop();
        thread_.join();
    }
    std::string url(const std::string &path) const { return "https://127.0.0.1:" + std::to_string(port_) + path; }

private:
    httplib::SSLServer server_;
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

TEST(Network, AListOfFractionsOfSecondsIsAsLongUnderADecimalComma) {
    const support::DecimalComma comma;
    if (!comma.set) GTEST_SKIP() << "no program localedef";
    LoopbackServer server;
    const std::string segments = "#EXTINF:0.75,\n/variant_low0.ts\n#EXTINF:0.75,\n/variant_low1.ts\n";
    server.on("/list.m3u8", answer("#EXTM3U\n#EXT-X-TARGETDURATION:1\n" + segments + "#EXT-X-ENDLIST\n"));
    SourceInput input;
    ASSERT_FALSE(input.open(server.url("/list.m3u8"), {}));
    EXPECT_EQ(input.durationUs(), 1'500'000);
    EXPECT_EQ(std::localeconv()->decimal_point, std::string(",")) << "the application's own";
}

TEST(Network, AnHlsSetBeginsWithTheVariantNamedFirst_OrWithTheOneForTheSpeedOfThisNetwork) {
    LoopbackServer server;
    server.on("/high.m3u8", answer("#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n/mpeg2_mp2.ts\n#EXT-X-ENDLIST\n"));
    const std::string low = "#EXT-X-STREAM-INF:BANDWIDTH=100000\n/vod.m3u8\n";
    const std::string high = "#EXT-X-STREAM-INF:BANDWIDTH=900000\n/high.m3u8\n";
    server.on("/rising.m3u8", answer("#EXTM3U\n" + low + high));
    server.on("/falling.m3u8", answer("#EXTM3U\n" + high + low));
    const auto first = [&](const char *list) {
        SourceInput input;
        const MediaError error = input.open(server.url(list), {});
        EXPECT_FALSE(error) << error.text;
        return input.video() ? input.video()->codecpar->codec_id : AV_CODEC_ID_NONE;
    };
    const auto player = IOriPlayer::create();
    const auto changeNetwork = [&] { EXPECT_EQ(player->setParameter(3901, Param(), -1), 0); };
    changeNetwork();
    EXPECT_EQ(first("/falling.m3u8"), AV_CODEC_ID_MPEG2VIDEO);
    EXPECT_EQ(first("/rising.m3u8"), AV_CODEC_ID_H264);
    SourceInput underWay;
    ASSERT_FALSE(underWay.open(server.url("/vod.m3u8"), {}));
    packetsIn(underWay);
    EXPECT_EQ(first("/rising.m3u8"), AV_CODEC_ID_MPEG2VIDEO) << "the line is fast";
    changeNetwork();
    EXPECT_EQ(first("/rising.m3u8"), AV_CODEC_ID_H264) << "another line";
}

TEST(Network, CertificatesAreVerified) {
    const TlsServer good("good");
    const TlsServer bad("bad");
    InputOptions trusting;
    trusting.caFile = CERTIFICATE_DIRECTORY "/ca.pem";
    LoopbackServer plain;
    plain.on("/list.m3u8",
             answer("#EXTM3U\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\n" + good.url("/vod.ts") + "\n#EXT-X-ENDLIST\n"));
    const struct {
        std::string url;
        InputOptions options;
        bool opens;
    } cases[] = {{good.url("/vod.m3u8"), trusting, true},
                 {good.url("/vod.m3u8"), {}, false},       // not the system's authority
                 {bad.url("/vod.m3u8"), trusting, false},  // another host's certificate
                 {plain.url("/list.m3u8"), trusting, true},
                 {plain.url("/list.m3u8"), {}, false}};  // sub-requests are verified as well
    for (const auto &each : cases) {
        SourceInput input;
        const MediaError error = input.open(each.url, each.options);
        EXPECT_EQ(!error, each.opens) << each.url << ' ' << error.text;
    }
}

TEST(ProbeUrl, TellsLengthStreamsAndErrorsInTime) {
    LoopbackServer server;
    server.on("/silent", &test::Connection::silence);
    ProbeResult result;
    ASSERT_EQ(probeUrl(server.url("/two_languages.mkv").c_str(), {}, result), 0) << result.error;
    EXPECT_NEAR(static_cast<double>(result.durationMs),
                static_cast<double>(support::expected("two_languages.mkv").durationMs), 1.0);
    EXPECT_FALSE(result.live);
    ASSERT_EQ(result.streams.size(), 3u);
    EXPECT_EQ(result.streams[0].codec, "h264");
    EXPECT_EQ(result.streams[0].width, 320);
    EXPECT_EQ(result.streams[0].frameRate, 25.0);
    EXPECT_EQ(result.streams[2].language, "deu");
    EXPECT_EQ(result.streams[2].sampleRate, 48000);

    std::atomic<bool> cancel{true};
    ProbeOptions impatient, cancelled;
    impatient.timeoutMs = 200;
    cancelled.cancel = &cancel;
    EXPECT_EQ(probeUrl(nullptr, {}, result), -1);
    EXPECT_TRUE(result.streams.empty());
    const struct {
        const char *path;
        const ProbeOptions &options;
        int native;
    } failures[] = {{"/none", {}, AVERROR_HTTP_NOT_FOUND},
                    {"/silent", impatient, AVERROR(ETIMEDOUT)},
                    {"/silent", cancelled, AVERROR_EXIT}};
    for (const auto &each : failures) {
        EXPECT_EQ(probeUrl(server.url(each.path).c_str(), each.options, result), -1);
        EXPECT_EQ(result.nativeError, each.native) << result.error;
    }
}

}  // namespace
