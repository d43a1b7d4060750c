#include "decode/picture_converter.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace {

using namespace oriplayer;

FramePtr blank(AVPixelFormat format, int width, int height) {
    FramePtr frame(av_frame_alloc());
    frame->format = format;
    frame->width = width;
    frame->height = height;
    EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    for (const AVBufferRef *buffer : frame->buf) {
        if (buffer) std::fill_n(buffer->data, buffer->size, uint8_t{0});  // av_write_image_line only sets bits
    }
    return frame;
}

/// One colour all over, each component given in 8 bits and scaled up to what the format has.
FramePtr filled(AVPixelFormat format, int width, int height, std::array<int, 4> colour) {
    FramePtr frame = blank(format, width, height);
    const AVPixFmtDescriptor &description = *av_pix_fmt_desc_get(format);
    for (int component = 0; component < description.nb_components; ++component) {
        const AVComponentDescriptor &place = description.comp[component];
        const bool chroma = (component == 1 || component == 2) && !(description.flags & AV_PIX_FMT_FLAG_RGB);
        const int columns = chroma ? AV_CEIL_RSHIFT(width, description.log2_chroma_w) : width;
        const int rows = chroma ? AV_CEIL_RSHIFT(height, description.log2_chroma_h) : height;
        const auto value = static_cast<uint16_t>(colour[static_cast<std::size_t>(component)] << (place.depth - 8));
        const std::vector<uint16_t> row(static_cast<std::size_t>(columns), value);
        for (int y = 0; y < rows; ++y) {
            av_write_image_line(row.data(), frame->data, frame->linesize, &description, 0, y, component, columns);
        }
    }
    return frame;
}

struct Case {
    AVPixelFormat format;
    std::array<int, 4> colour;    // as the format names its components
    std::array<int, 3> expected;  // Y, U, V
    AVColorRange range;           // of the source
    AVColorRange answered;
};

constexpr Case kCases[] = {
    {AV_PIX_FMT_NV12, {81, 90, 240}, {81, 90, 240}, AVCOL_RANGE_MPEG, AVCOL_RANGE_MPEG},
    {AV_PIX_FMT_YUV422P, {81, 90, 240}, {81, 90, 240}, AVCOL_RANGE_MPEG, AVCOL_RANGE_MPEG},
    {AV_PIX_FMT_YUVJ422P, {250, 3, 252}, {250, 3, 252}, AVCOL_RANGE_JPEG, AVCOL_RANGE_JPEG},
    {AV_PIX_FMT_YUV444P, {250, 3, 252}, {250, 3, 252}, AVCOL_RANGE_JPEG, AVCOL_RANGE_JPEG},
    {AV_PIX_FMT_YUV411P, {145, 54, 34}, {145, 54, 34}, AVCOL_RANGE_MPEG, AVCOL_RANGE_MPEG},
    {AV_PIX_FMT_YUV420P10LE, {145, 54, 34}, {145, 54, 34}, AVCOL_RANGE_MPEG, AVCOL_RANGE_MPEG},
    {AV_PIX_FMT_YUV420P12LE, {250, 3, 252}, {250, 3, 252}, AVCOL_RANGE_JPEG, AVCOL_RANGE_JPEG},
    {AV_PIX_FMT_YUV444P10LE, {145, 54, 34}, {145, 54, 34}, AVCOL_RANGE_MPEG, AVCOL_RANGE_MPEG},
    {AV_PIX_FMT_YUVA420P, {145, 54, 34, 255}, {145, 54, 34}, AVCOL_RANGE_MPEG, AVCOL_RANGE_MPEG},
    {AV_PIX_FMT_UYVY422, {81, 90, 240}, {81, 90, 240}, AVCOL_RANGE_MPEG, AVCOL_RANGE_MPEG},
    {AV_PIX_FMT_GRAY8, {200}, {200, 128, 128}, AVCOL_RANGE_UNSPECIFIED, AVCOL_RANGE_JPEG},
    {AV_PIX_FMT_GRAY8, {200}, {200, 128, 128}, AVCOL_RANGE_MPEG, AVCOL_RANGE_MPEG},
    // BT.601 at this size: pure red, green, blue and white.
    {AV_PIX_FMT_RGB24, {255, 0, 0}, {81, 90, 240}, AVCOL_RANGE_UNSPECIFIED, AVCOL_RANGE_MPEG},
    {AV_PIX_FMT_RGB24, {0, 255, 0}, {145, 54, 34}, AVCOL_RANGE_UNSPECIFIED, AVCOL_RANGE_MPEG},
    {AV_PIX_FMT_BGRA, {0, 0, 255, 255}, {41, 240, 110}, AVCOL_RANGE_UNSPECIFIED, AVCOL_RANGE_MPEG},
    {AV_PIX_FMT_GBRP, {255, 255, 255}, {235, 128, 128}, AVCOL_RANGE_JPEG, AVCOL_RANGE_MPEG},
};

TEST(PictureConverter, KnownColoursComeOutInEveryCornerOfOddSizes) {
    PictureConverter converter;
    for (const Case &c : kCases) {
        for (const auto &[width, height] : {std::pair{64, 48}, std::pair{35, 27}}) {
            SCOPED_TRACE(std::string(av_get_pix_fmt_name(c.format)) + ' ' + std::to_string(width));
            FramePtr source = filled(c.format, width, height, c.colour);
            source->color_range = c.range;
            source->pts = 1234;
            source->sample_aspect_ratio = {4, 3};
            MediaError error;
            const FramePtr picture = converter.toI420(std::move(source), error);
            ASSERT_TRUE(picture) << error.text;
            EXPECT_EQ(picture->format, AV_PIX_FMT_YUV420P);
            EXPECT_EQ(picture->color_range, c.answered);
            EXPECT_EQ(picture->pts, 1234);
            EXPECT_EQ(picture->sample_aspect_ratio.num, 4);
            for (int plane = 0; plane < 3; ++plane) {
                const int columns = plane ? (width + 1) / 2 : width;
                const int rows = plane ? (height + 1) / 2 : height;
                for (const auto &[x, y] : {std::pair{0, 0}, std::pair{columns - 1, rows - 1}, std::pair{columns - 1, 0},
                                           std::pair{0, rows - 1}}) {
                    // One step of rounding and dither.
                    EXPECT_NEAR(picture->data[plane][y * picture->linesize[plane] + x],
                                c.expected[static_cast<std::size_t>(plane)], 1)
                        << plane << ' ' << x << ' ' << y;
                }
                EXPECT_EQ(picture->linesize[plane] % 32, 0);
            }
        }
    }
}

TEST(PictureConverter, FourTwoZeroKeepsItsPlanes) {
    PictureConverter converter;
    for (AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVJ420P}) {
        FramePtr source = filled(format, 33, 17, {1, 2, 3});
        const uint8_t *plane = source->data[0];
        MediaError error;
        EXPECT_EQ(converter.toI420(std::move(source), error)->data[0], plane);
    }
}

TEST(PictureConverter, PaletteAndHighDefinitionRgb) {
    PictureConverter converter;
    FramePtr indexed = blank(AV_PIX_FMT_PAL8, 32, 16);
    for (int y = 0; y < 16; ++y) std::fill_n(indexed->data[0] + y * indexed->linesize[0], 32, uint8_t{7});
    reinterpret_cast<uint32_t *>(indexed->data[1])[7] = 0xFFFF0000u;  // red
    MediaError error;
    FramePtr picture = converter.toI420(std::move(indexed), error);
    ASSERT_TRUE(picture) << error.text;
    EXPECT_NEAR(picture->data[0][0], 81, 1);
    EXPECT_NEAR(picture->data[2][0], 240, 1);

    picture = converter.toI420(filled(AV_PIX_FMT_RGB24, 1280, 720, {255, 0, 0}), error);
    ASSERT_TRUE(picture) << error.text;
    EXPECT_EQ(picture->colorspace, AVCOL_SPC_BT709);
    EXPECT_NEAR(picture->data[0][0], 63, 1);  // red in BT.709
}

TEST(PictureConverter, PicturesOutliveTheConverterAndWhatCannotBeConvertedSaysSo) {
    FramePtr picture;
    MediaError error;
    {
        PictureConverter converter;
        picture = converter.toI420(filled(AV_PIX_FMT_NV12, 64, 48, {81, 90, 240}), error);
        FramePtr strange(av_frame_alloc());
        strange->format = AV_PIX_FMT_VAAPI;
        strange->width = strange->height = 16;
        EXPECT_EQ(converter.toI420(std::move(strange), error), nullptr);
        EXPECT_NE(error.text.find("vaapi"), std::string::npos) << error.text;
    }
    EXPECT_EQ(picture->data[0][0], 81);
}

}  // namespace
