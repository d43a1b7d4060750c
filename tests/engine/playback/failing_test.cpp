#include <gtest/gtest.h>

#include "engine/playback/watched_player.h"
#include "ffmpeg.h"
#include "support/temporary_folder.h"

namespace test {
namespace {

using support::clip;

TEST(Failing, ASourceThatCannotBePlayedEndsInOneEventWithAText) {
    const support::TemporaryFolder folder;
    const std::vector<std::string> cases[] = {
        {}, {""}, {folder / "none.mp4"}, {folder.write("text.mp4", "not a film at all, only a line of text\n")}};
    for (const auto &urls : cases) {
        SCOPED_TRACE(urls.empty() ? "no source" : urls[0]);
        WatchedPlayer player(urls);
        player.play();
        const int failure = player.waitForFailure();
        EXPECT_TRUE(failure == 501 || failure == 502) << player.events();
        EXPECT_EQ(player->start(), -1);
        EXPECT_EQ(player.events(), std::to_string(failure));
        EXPECT_NE(player.record->events[0].first, 0);
        EXPECT_FALSE(player.record->events[0].text.empty());
    }
    WatchedPlayer player({""}, 0, {{"datasource_live_type", "3"}, {"qzrtp_download_host", ""}, {"qzrtp_app_id", "1"}});
    player.play();
    EXPECT_EQ(player.waitForFailure(), 501);
    EXPECT_EQ(player.record->events[0].text, "opening a source without a URL; empty options: qzrtp_download_host");
}

TEST(Damage, IsPassedOverAndToldInLinesOfTheLog_ForeignLinesGoTheirWay) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    testing::internal::CaptureStderr();
    {
        WatchedPlayer player({clip("damaged.ts")});
        EXPECT_TRUE(player.playToEnd()) << player.events();
        EXPECT_GE(player.pictures().size(), 20u) << "of 25, five at most lie in the hole";
        oriplayer::ProbeResult result;
        EXPECT_EQ(oriplayer::probeUrl(clip("damaged.ts").c_str(), {}, result), 0);
        player->stop(true);
        EXPECT_GT(player.ear->lines, 0);
        EXPECT_LE(player.ear->lines, 500);
    }
    av_log(nullptr, AV_LOG_WARNING, "the application's own\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "the application's own\n");
}

}  // namespace
}  // namespace test
