#include "input/hls_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using namespace oriplayer;

TEST(HlsMasterList, ShowsOneVariantWithTheRenditionsItNames) {
    const HlsMasterList list(
        "#EXTM3U\r\n#EXT-X-VERSION:4\r\n"
        "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"a\",NAME=\"x, y\",URI=\"a.m3u8\"\r\n"
        "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"b\",URI=\"b.m3u8\"\r\n"
        "#EXT-X-STREAM-INF:BANDWIDTH=900,CODECS=\"avc1.4d,mp4a.40.2\",AUDIO=\"a\"\r\nhigh.m3u8\r\n"
        "#EXT-X-STREAM-INF:BANDWIDTH=50,CODECS=\"mp4a.40.2\",AUDIO=\"b\"\r\nsound.m3u8\r\n"
        "#EXT-X-STREAM-INF:CODECS=\"avc1.4d\",BANDWIDTH=300,AUDIO=\"b\"\r\n\r\nlow.m3u8\r\n"
        "#EXT-X-STREAM-INF:BANDWIDTH=300\r\nspare.m3u8\r\n");
    ASSERT_EQ(list.variants().size(), 2u) << "sound alone and a spare one are left out";
    EXPECT_EQ(list.variants()[0].uri, "low.m3u8");
    EXPECT_EQ(list.variants()[1].bitsPerSecond, 900);
    EXPECT_EQ(list.named(), 1);
    EXPECT_EQ(list.only(0),
              "#EXTM3U\n#EXT-X-VERSION:4\n#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"b\",URI=\"b.m3u8\"\n"
              "#EXT-X-STREAM-INF:CODECS=\"avc1.4d\",BANDWIDTH=300,AUDIO=\"b\"\nlow.m3u8\n");
}

TEST(HlsSegmentList, CutInTheMiddleKeepsWhatHoldsThere) {
    const HlsSegmentList list(
        "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXT-X-MEDIA-SEQUENCE:7\n#EXT-X-KEY:one\n#EXT-X-MAP:head\n"
        "#EXTINF:2.0,\n#EXT-X-BYTERANGE:100@50\nfile\n#EXTINF:1.5,\n#EXT-X-BYTERANGE:30\nfile\n"
        "#EXT-X-KEY:two\n#EXTINF:1,\nother\n#EXT-X-ENDLIST\n");
    ASSERT_EQ(list.segments().size(), 3u);
    EXPECT_EQ(list.segments()[1].offset, 150);
    EXPECT_EQ(list.segments()[2].startUs, 3'500'000);
    EXPECT_EQ(list.segments()[2].sequence, 9);
    EXPECT_TRUE(list.ended() && list.continuous() && list.fragmented());
    EXPECT_EQ(list.from(1),
              "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXT-X-MEDIA-SEQUENCE:8\n#EXT-X-KEY:one\n#EXT-X-MAP:head\n"
              "#EXTINF:1.5,\n#EXT-X-BYTERANGE:30@150\nfile\n"
              "#EXT-X-KEY:two\n#EXTINF:1,\nother\n#EXT-X-ENDLIST\n");
}

TEST(HlsLists, RubbishGivesNothingThatCouldOverflow) {
    const std::string much = "9223372036854775807";
    for (const std::string &number :
         {much, "-" + much, std::string("inf"), std::string("nan"), std::string("1e308"), std::string()}) {
        std::string text = "#EXTM3U\n#EXT-X-MEDIA-SEQUENCE:" + number + "\n";
        for (int i = 0; i < 3; ++i)
            text += "#EXTINF:" + number + "\n#EXT-X-BYTERANGE:" + number + "@" + number + "\na\n";
        const HlsSegmentList list(text);
        ASSERT_EQ(list.segments().size(), 3u);
        for (const auto &segment : list.segments()) EXPECT_GE(std::min(segment.startUs, segment.offset), 0) << number;
        EXPECT_FALSE(list.from(2).empty());
        EXPECT_TRUE(HlsMasterList(text).variants().empty());
    }
    EXPECT_TRUE(HlsMasterList("#EXT-X-STREAM-INF:A=\"\n#EXT-X-STREAM-INF:\n").variants().empty());
    EXPECT_TRUE(HlsSegmentList("\n\n#\r").segments().empty());
}

}  // namespace
