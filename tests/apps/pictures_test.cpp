#include <gmock/gmock.h>
#include <png.h>

#include <cstring>

#include "base/oriplayer/picture.h"
#include "colour.h"
#include "still_picture.h"
#include "support/temporary_folder.h"
#include "y4m_writer.h"

namespace vexoplay {
namespace {

// A picture in rows that are wider than what they hold; the padding is 0xEE and must never be seen.
struct PaddedPicture {
    PaddedPicture(int w, int h, std::array<uint8_t, 3> fill) : width(w), height(h) {
        for (std::size_t p = 0; p < 3; ++p) {
            const int columns = p == 0 ? w : (w + 1) / 2;
            const int rows = p == 0 ? h : (h + 1) / 2;
            stride[p] = columns + 7;
            bytes[p].assign(static_cast<std::size_t>(stride[p] * rows), 0xEE);
            for (int y = 0; y < rows; ++y) {
                std::fill_n(&bytes[p][static_cast<std::size_t>(y * stride[p])], columns, fill[p]);
            }
        }
    }
    I420View view() const {
        return makeI420View(width, height, {bytes[0].data(), bytes[1].data(), bytes[2].data()}, stride);
    }
    int width;
    int height;
    std::array<std::vector<uint8_t>, 3> bytes;
    std::array<int, 3> stride{};
};

PictureFacts factsOf(const PaddedPicture &picture) {
    PictureFacts facts;
    facts.width = picture.width;
    facts.height = picture.height;
    facts.durationUs = 40'000;
    return facts;
}

TEST(Pictures, Y4mHeadersTellRateAspectAndRange) {
    const std::vector<std::pair<uint32_t, const char *>> rates{{40'000, " F25:1 "},       {33'367, " F30000:1001 "},
                                                               {33'333, " F30:1 "},       {16'683, " F60000:1001 "},
                                                               {41'708, " F24000:1001 "}, {0, " F25:1 "},
                                                               {83'417, " F12000:1001 "}, {70'000, " F1000000:70000 "}};
    PictureFacts facts;
    for (const auto &[duration, text] : rates) {
        facts.durationUs = duration;
        EXPECT_THAT(y4mHeader(4, 2, facts), testing::HasSubstr(text)) << duration;
    }
    facts.aspect = 16u << 16 | 11u;
    facts.colour = oriplayer::kRenderFullRange | oriplayer::kRenderInterlaced;
    EXPECT_THAT(y4mHeader(4, 2, facts), testing::HasSubstr(" It A16:11 C420jpeg XCOLORRANGE=FULL\n"));
}

// Pure colours as the standards give them, rounded to 8 bits.
TEST(Pictures, ColoursFollowMatrixAndRange) {
    const uint32_t known = oriplayer::kRenderMatrixKnown;
    struct Case {
        const char *what;
        int height;
        std::array<uint8_t, 3> yuv;
        uint32_t flags;
        std::array<int, 3> rgb;
    };
    const std::vector<Case> cases{
        {"white, narrow", 2, {235, 128, 128}, known, {255, 255, 255}},
        {"white, full", 2, {255, 128, 128}, known | oriplayer::kRenderFullRange, {255, 255, 255}},
        {"grey, full", 2, {128, 128, 128}, oriplayer::kRenderFullRange, {128, 128, 128}},
        {"red, BT.601", 2, {81, 90, 240}, known, {254, 0, 0}},
        {"red, BT.709", 2, {63, 102, 240}, known | oriplayer::kRenderBt709, {255, 1, 0}},
        {"red, BT.2020", 2, {74, 97, 240}, known | oriplayer::kRenderBt2020, {255, 0, 1}},
        {"blue, unnamed and small: BT.601", 2, {41, 240, 110}, 0, {0, 0, 255}},
        {"blue, unnamed and large: BT.709", 720, {32, 240, 118}, 0, {0, 0, 255}},
        {"beyond the range", 2, {255, 128, 128}, known, {255, 255, 255}}};
    for (const Case &c : cases) {
        const RgbPicture rgb = toRgb(PaddedPicture(2, c.height, c.yuv).view(), c.flags);
        for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(rgb.bytes[i], c.rgb[i], 2) << c.what << " " << i;
    }
}

TEST(Pictures, AStillIsAPngWithSquarePixelsUnderAFreshName) {
    const PaddedPicture red(8, 6, {81, 90, 240});
    const support::TemporaryFolder folder;
    StagedPicture staged;
    EXPECT_NE(saveStill(staged, folder.path()).error, "") << "no picture yet";
    PictureFacts facts = factsOf(red);
    facts.aspect = 3u << 16 | 2u;
    staged.assign(red.view(), facts);
    EXPECT_EQ(saveStill(staged, folder.path()).path, folder / "vexoplay-0001.png");
    const StillResult second = saveStill(staged, folder.path());
    ASSERT_EQ(second.error, "");
    EXPECT_EQ(second.path, folder / "vexoplay-0002.png");
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_NE(png_image_begin_read_from_file(&image, second.path.c_str()), 0);
    EXPECT_EQ(image.width, 12u);
    EXPECT_EQ(image.height, 6u);
    image.format = PNG_FORMAT_RGB;
    std::vector<uint8_t> rgb(PNG_IMAGE_SIZE(image));
    ASSERT_NE(png_image_finish_read(&image, nullptr, rgb.data(), 0, nullptr), 0);
    EXPECT_GE(rgb[0], 253);
    EXPECT_LE(rgb[1], 2);
    EXPECT_NE(saveStill(staged, folder / "no/such").error, "");
}

}  // namespace
}  // namespace vexoplay
