// The media processor's controls and readings, seen in what the real engine does.

#include <gmock/gmock.h>

#include <array>

#include "codec/codec_media_process.h"
#include "codec/media_keys.h"
#include "end_to_end/programme.h"
#include "playback/crop.h"

namespace end_to_end {
namespace {

using support::clip;
using support::expected;
using testing::HasSubstr;

class Controls : public testing::Test {
protected:
    /// Plays the clip to its end; `whenPrepared` runs before it starts.
    void play(const std::string &name, const std::function<void(vexo::CodecMediaProcess &)> &whenPrepared) {
        programme_.give({clip(name)});
        programme_.player->prepareAsync();
        ASSERT_TRUE(programme_.waitFor("1000@000000"));
        whenPrepared(*programme_.player->getMediaProcessor());
        programme_.player->start();
        ASSERT_TRUE(programme_.waitFor("1001@000000"));
    }

    Programme programme_{Pace::kUntimed};
};

TEST_F(Controls, ACropShowsThePartOfThePicture) {
    std::map<std::string, std::string> middle{{"left", "0.25"}, {"right", "0.75"}, {"top", "0.5"}, {"bottom", "1"}};
    play("video_only.mp4", [&](auto &processor) { processor.SetFilter(oriplayer::eDRWFilter_Crop, middle); });
    const auto shown = programme_.shown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(static_cast<int>(shown[0].numbers.size()), expected("video_only.mp4").pictures);
    EXPECT_EQ(shown[0].width, 160) << "of 320";
    EXPECT_EQ(shown[0].height, 90) << "of 180";
}

TEST_F(Controls, WithRenderingOffPicturesAreCountedButGoNowhere) {
    std::string record;
    programme_.events->onEvent = [&](const std::string &event) {  // at the end, while its engine player still lives
        if (!event.starts_with("1001@")) return;
        record = programme_.player->getMediaProcessor()->getPlayerInfoByKey(vexo::KVPLAYER_INFO_KEY_ALL);
    };
    play("video_only.mp4", [](auto &processor) { processor.SetRenderVideo(false); });
    EXPECT_TRUE(programme_.shown().empty());
    EXPECT_THAT(record, HasSubstr("videoDecodeOutputTotal=" + std::to_string(expected("video_only.mp4").pictures)));
}

TEST(Crop, BeginsOnEvenPixelsAndStaysInsideThePicture) {
    struct Case {
        std::array<float, 4> cut;  // left, right, top, bottom
        int width, height, x, y, cutWidth, cutHeight;
    };
    for (const Case &c :
         {Case{{0, 1, 0, 1}, 161, 121, 0, 0, 161, 121}, Case{{0.25F, 0.75F, 0, 1}, 160, 120, 40, 0, 80, 120},
          Case{{0.26F, 0.5F, 0.3F, 0.9F}, 101, 51, 26, 14, 24, 32},
          Case{{0.999F, 1, 0.999F, 1}, 161, 120, 160, 118, 1, 2}, Case{{0.5F, 0.5001F, 0, 1}, 16, 16, 8, 0, 2, 16}}) {
        oriplayer::Param values;
        values.putInt32(5);
        for (const float zero : {0.0F, 0.0F}) values.putFloat(zero);
        for (const float value : c.cut) values.putFloat(value);
        std::array<uint8_t, 1> memory{};
        std::array<oriplayer::PlaneEntry, 3> planes{{{200, memory.data()}, {100, memory.data()}, {100, memory.data()}}};
        oriplayer::VideoPicture picture{c.width, c.height, 0, {}, planes.data()};
        const auto crop = oriplayer::Crop::read(values);
        ASSERT_TRUE(crop);
        crop->apply(picture);
        EXPECT_EQ(picture.width, c.cutWidth);
        EXPECT_EQ(picture.height, c.cutHeight);
        EXPECT_EQ(planes[0].data - memory.data(), c.y * 200 + c.x);
        EXPECT_EQ(planes[2].data - memory.data(), c.y / 2 * 100 + c.x / 2);
    }
    oriplayer::Param inverted;
    for (const float value : {5.0F, 0.0F, 0.0F, 0.7F, 0.2F, 0.0F, 1.0F}) inverted.putFloat(value);
    EXPECT_FALSE(oriplayer::Crop::read(inverted));
    EXPECT_FALSE(oriplayer::Crop::read({})) << "no values are no crop";
}

}  // namespace
}  // namespace end_to_end
