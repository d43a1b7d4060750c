#include <locale>
#include <string>

#include "codec/codec_net_process.h"
#include "codec/media_fixture.h"
#include "codec/media_keys.h"

namespace vexo {
namespace {

class PlayerInformation : public MediaTest {
protected:
    std::string info(int key) { return processor.getPlayerInfoByKey(key); }

    /// The engine answers what a period's end is counted by.
    void answerCounters() {
        for (const auto &[key, value] : {std::pair<int, int64_t>{4005, 5'000'999},
                                         {4008, 999},
                                         {4009, 9},
                                         {4010, 10},
                                         {4014, 14},
                                         {4015, 15},
                                         {4016, 16}}) {
            engine.answerInfo(key, value);
        }
        engine.answerParameter(1709, param(int64_t{2'000'000}, int64_t{3'000}));
    }

    /// 1, 2, 3 ... in the order in which the engine gives them.
    void answerRow(int number, int ints, int floats) {
        oriplayer::Param row;
        for (int i = 1; i <= ints; ++i) row.putInt32(i);
        for (int i = ints + 1; i <= ints + floats; ++i) row.putFloat(static_cast<float>(i) + 0.5F);
        engine.answerParameter(number, row);
    }
};

constexpr char kHlsHead[] =
    "isHls:0&enableAdaptive:0&totalErrorCnt:0&totalConnCnt:0&totalTaskChangeCnt:0&taskNum:0&timeoutTimes:0&isMdl:0&"
    "taskCfgSession:0&adaptiveMode:0&adaptivePolicy:0&sumbaEnable:0&";

constexpr char kHlsRow[] =
    "gearCount:39&upGearCount:38&downGearCount:37&bweTimes:36&switchTimes:35&switchBiasedTimes:34&bweBiasedTimes:33&"
    "gear0PlayingTime:32&gear1PlayingTime:31&gear2PlayingTime:30&gear3PlayingTime:29&gear4PlayingTime:28&"
    "gear5PlayingTime:27&gear6PlayingTime:26&gear7PlayingTime:25&gear8PlayingTime:24&gear9PlayingTime:23&"
    "abrScheme:22&enableNetDetection:0&highestGear:21&maxBufBytes:20&hdupTime:19&hd2upTime:18&hd3upTime:17&"
    "hdupBuffer:16&hd2upBuffer:15&hd3upBuffer:14&hdupTs:13&hd2upTs:12&hd3upTs:11&sddownTime:10&hddownTime:9&"
    "hd2downTime:8&sddownBuffer:7&hddownBuffer:6&hd2downBuffer:5&startGearMethod:4&startGearIndex:3&"
    "streamTypeCode:2&predownloadcount:1&";

constexpr char kStatistics[] =
    "eventType=1;avUnSynchronizedTotal=5;videoCodec=2;decodingType=3;playTimeTotal=4;"
    "videoDecodeDroppedFramesTotal=6;videoRenderDroppedFramesTotal=7;audioDecodeDroppedFramesTotal=8;"
    "audioRenderDroppedFramesTotal=9;audioDecodeInputTotal=10;audioDecodeOutputTotal=11;videoDecodeInputTotal=12;"
    "videoDecodeOutputTotal=13;videoStuckTotal=14;imageStuckTotal=18;noVideoAudioTotal=17;noAudioTotal=16;"
    "audioStuckTotal=15;blackScreenTotal=19;greenScreenTotal=20;blurredScreenTotal=21;videoBlackBorderTotal=22;"
    "frameRate=23;sampleRate=24;subtitleAbnormalTotal=25;noAudioIntensityTotal=26;avgVideoDecodeFrameRate=29.5;"
    "avgAuidoDecodeFrameRate=31.5;avgVideoRenderFrameRate=30.5;avgAudioRenderFrameRate=32.5;avgVideoRenderCost=33.5;"
    "avgVideoDecodeCost=28;colorFilterVersion=0;audioEnhancementVersion=27;colorSpaceCorrectVersion=0;"
    "videoStuckTime=70;noVideoTime=90;noVideoAudioTime=85;noAudioTime=80;audioStuckTime=75;"
    "avUnSynchronizedTime=25;";

TEST_F(PlayerInformation, TheFullRecord_IsThisTextLetterByLetter) {
    play();
    answerCounters();
    answerRow(2019, 28, 5);
    answerRow(1610, 39, 0);
    engine.answerParameter(1600, param(29.97));
    engine.answerParameter(1601, param(int64_t{800'000}));
    engine.answerParameter(1602, param(int64_t{1'234'567}));
    engine.answerParameter(4001, param(0));
    engine.answerParameter(4002, param("schedule"));
    engine.answerParameter(1624, param("own=1;"));
    const std::string expected =
        std::string("avgKeyFrameSize=1.23457e+06;avgVideoBitrate=800000;videoFrameRate=29;") +
        "totalDownloadBufferSize=5000;cdn=9;p2p=10;curl=14;cronet_quic=15;cronet_http=16;unUsedBufferSize=3000;"
        "userConsumeDuration=3000;usedExternalBufferSize=0;own=1;" +
        kStatistics + "HLSInfo=" + kHlsHead + "buffSched:schedule&playlistSourcerSwitch:200&" + kHlsRow + ";";
    EXPECT_EQ(info(KVPLAYER_INFO_KEY_ALL), expected);
    engine.answerParameter(4001, param(1));
    engine.answerParameter(4002, param("unasked"));
    EXPECT_EQ(info(KVPLAYER_INFO_KEY_ALL), expected);

    struct Grouped : std::numpunct<char> {
        std::string do_grouping() const override { return "\3"; }
        char do_thousands_sep() const override { return '.'; }
    };
    const std::locale former = std::locale::global(std::locale(std::locale::classic(), new Grouped));
    EXPECT_EQ(info(KVPLAYER_INFO_KEY_ALL), expected);
    std::locale::global(former);
}

TEST_F(PlayerInformation, WithoutAPlayer_TheRecordHasItsLabelsAndNoAnswers) {
    const std::string hls = std::string(kHlsHead) + "buffSched:&playlistSourcerSwitch:200&";
    EXPECT_EQ(processor.getHlsInfo(), hls);
    const std::string record = info(KVPLAYER_INFO_KEY_ALL);
    EXPECT_TRUE(record.starts_with(
        "avgKeyFrameSize=-1;avgVideoBitrate=-1;videoFrameRate=-1;totalDownloadBufferSize=-2;cdn=0;p2p=0;curl=0;"
        "cronet_quic=0;cronet_http=0;unUsedBufferSize=0;userConsumeDuration=0;usedExternalBufferSize=-2;eventType=0;"))
        << record;
    EXPECT_TRUE(record.ends_with("avUnSynchronizedTime=0;HLSInfo=" + hls + ";")) << record;
    CodecMediaProcess alone;  // never bound to a timeline
    EXPECT_NE(alone.getPlayerInfoByKey(-1).find("totalDownloadBufferSize=-2;unUsedBufferSize=0;"), std::string::npos);
}

TEST_F(PlayerInformation, EachKey_HasItsTextWithAndWithoutAPlayer) {
    struct Case {
        int key;
        const char *without;
        const char *with;
    };
    const Case cases[] = {
        {-2, "", ""},
        {0, "0", "5000999"},
        {1, "0", "2000000"},
        {2, "", ""},
        {3, "", ""},
        {4, "", ""},
        {5, "0", "999"},
        {6, "bufferAdaptiveChangeCnt=0;curTargetBuffer=0;", "bufferAdaptiveChangeCnt=0;curTargetBuffer=0;"},
        {7, "cdn=0;p2p=0;curl=0;cronet_quic=0;cronet_http=0", "cdn=9;p2p=10;curl=14;cronet_quic=15;cronet_http=16"},
        {8, "", "bufferMonitor=stalls:2,"},
        {9, "", "4"},
        {10, "", "bufferMonitor=stalls:2,"},
        {11, "0", "807"},
        {12, "0", "1707"},
        {13, "tcpi_rtt=-1&tcpi_rttvar=-1&tcpi_lost=-1&tcpi_retrans=-1&dl_type=-1&timestamp=0", "tcpi_rtt=7"},
        {14, "0", "807"},
        {15, "", ""},
    };
    answerCounters();
    engine.answerParameter(4003, param("stalls:2,"));
    engine.answerParameter(3904, param(4));
    engine.answerParameter(1707, param(int64_t{1707}));
    engine.answerInfo(4026, std::string("tcpi_rtt=7"));
    engine.answerDownload(100.9, 1);
    for (const Case &c : cases) EXPECT_EQ(info(c.key), c.without) << c.key;
    play();
    for (const Case &c : cases) EXPECT_EQ(info(c.key), c.with) << c.key;
    engine.answerDownload(-3.0, 0);
    EXPECT_EQ(info(11), "0");
    engine.answerDownload(1e18, 0);
    EXPECT_EQ(info(11), "2147483647");
}

TEST_F(PlayerInformation, TheTotalsOfEarlierPlayers_AreAddedToWhatIsShown) {
    play();
    answerCounters();
    processor.AccumulatePeriodStatistics(engine.idOf("p1"));
    EXPECT_EQ(info(0), "10001998");
    EXPECT_EQ(info(1), "4000000");
    EXPECT_EQ(info(5), "999");  // of the running player alone
    EXPECT_EQ(info(7), "cdn=18;p2p=20;curl=28;cronet_quic=30;cronet_http=32");
    EXPECT_NE(info(-1).find("totalDownloadBufferSize=10001;cdn=18;p2p=20;curl=28;cronet_quic=30;cronet_http=32;"
                            "unUsedBufferSize=6001;userConsumeDuration=6000;usedExternalBufferSize=1;"),
              std::string::npos);
}

TEST_F(PlayerInformation, DownloadSpeed_IsTheEventsWhileSomethingIsLoaded) {
    CodecNetProcess net(nullptr);
    net.Initialize(timeline, nullptr, -1, -1);
    Para para;
    EXPECT_EQ(net.OndownloadSpeedUpdate(para), -1);
    play();
    EXPECT_EQ(net.OndownloadSpeedUpdate(para), 0);  // the engine knows nothing
    const auto heard = [&](int status) {
        engine.answerDownload(2999.9, status);
        EXPECT_EQ(net.OndownloadSpeedUpdate(para), 0);
        return std::to_string(para.what) + "," + std::to_string(para.arg1) + "," + para.text;
    };
    EXPECT_EQ(heard(0), "0,0,");
    EXPECT_EQ(heard(3), "2006,2,download_status=3");
}

}  // namespace
}  // namespace vexo
