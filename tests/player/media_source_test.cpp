#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/oriplayer/play_list.h"
#include "interface/vexo_media_source.h"
#include "interface/vexo_player.h"

namespace VexoPlayerNS {
namespace {

using Headers = std::vector<std::pair<std::string, std::string>>;

Headers headersOf(IVexoMediaSource &source) {
    Headers headers;
    const auto map = source.getPlayList()->getPeriod(0)->getHeaders();
    for (int i = 0; i < map->size(); ++i) headers.emplace_back(map->keyAt(i), map->valueAt(i));
    return headers;
}

TEST(MediaSource, AUrlBecomesAListOfOnePeriodWithOneSource) {
    const auto source = IVexoMediaSource::create("http://host/clip.mp4");
    const auto list = source->getPlayList();
    EXPECT_EQ(list, source->getPlayList());
    ASSERT_EQ(list->getPeriodCount(), 1);
    const auto period = list->getPeriod(0);
    EXPECT_EQ(period->getSourceKind(), 1);
    EXPECT_EQ(period->getPreloadMask(), 0);
    EXPECT_NE(period->getStartTime(), -1) << "playback may begin here";
    ASSERT_EQ(period->getSourceCount(), 1);
    EXPECT_STREQ(period->getSource(0)->getUrl(0), "http://host/clip.mp4");
    EXPECT_EQ(headersOf(*source), (Headers{{"datasource_live_type", "1"}}));
}

TEST(MediaSource, OptionsBecomeHeadersInKeyOrderWithOurOwnBehind) {
    const std::vector<std::pair<VexoParams, Headers>> rows = {
        {{}, {}},
        {{{"int", 12345}, {"float", 0.5f}, {"text", std::string("a:b")}, {"bool", true}, {"double", 0.5}, {"void", {}}},
         {{"bool", ""}, {"double", ""}, {"float", "0.5"}, {"int", "12345"}, {"text", "a:b"}, {"void", ""}}},
        {{{"datasource_live_type", std::string("9")}, {kQzrtpDownloadIp, std::string("10.0.0.1")}},
         {{"datasource_live_type", "9"}, {"qzrtp_download_ip", "10.0.0.1"}}},
    };
    for (const auto &[params, headers] : rows) {
        const auto source = IVexoMediaSource::create(params);
        Headers expected = headers;
        expected.insert(expected.end(), {{"datasource_live_type", "3"}, {"no_need_surface", "1"}});
        EXPECT_EQ(headersOf(*source), expected);
        const auto period = source->getPlayList()->getPeriod(0);
        ASSERT_EQ(period->getSourceCount(), 1);
        EXPECT_STREQ(period->getSource(0)->getUrl(0), "");
        EXPECT_STREQ(period->getHeaders()->valueFor("datasource_live_type"), "3");
    }
}

}  // namespace
}  // namespace VexoPlayerNS
