#include "colour.h"

#include <algorithm>
#include <cmath>

#include "base/oriplayer/picture.h"

namespace vexoplay {
namespace {

// What luma and chroma, brought to 0..1 and -0.5..0.5, contribute to red, green and blue.
struct Weights {
    double redV;
    double greenU;
    double greenV;
    double blueU;
};

// From the standards' luma coefficients of red and blue (ITU-R BT.601, BT.709, BT.2020).
Weights weightsOf(Matrix matrix) {
    double red = 0.299;
    double blue = 0.114;
    if (matrix == Matrix::kBt709) red = 0.2126, blue = 0.0722;
    if (matrix == Matrix::kBt2020) red = 0.2627, blue = 0.0593;
    const double green = 1.0 - red - blue;
    return {2.0 * (1.0 - red), -2.0 * blue * (1.0 - blue) / green, -2.0 * red * (1.0 - red) / green,
            2.0 * (1.0 - blue)};
}

uint8_t toByte(double value) {
    return static_cast<uint8_t>(std::clamp(std::lround(value * 255.0), 0L, 255L));
}

}  // namespace

Matrix matrixOf(uint32_t colourFlags, int height) {
    if ((colourFlags & oriplayer::kRenderMatrixKnown) == 0) return height < 720 ? Matrix::kBt601 : Matrix::kBt709;
    if ((colourFlags & oriplayer::kRenderBt2020) != 0) return Matrix::kBt2020;
    return (colourFlags & oriplayer::kRenderBt709) != 0 ? Matrix::kBt709 : Matrix::kBt601;
}

RgbPicture toRgb(const I420View &picture, uint32_t colourFlags) {
    const Weights weights = weightsOf(matrixOf(colourFlags, picture.height));
    const bool full = (colourFlags & oriplayer::kRenderFullRange) != 0;
    const double lumaBase = full ? 0.0 : 16.0;
    const double lumaSpan = full ? 255.0 : 219.0;
    const double chromaSpan = full ? 255.0 : 224.0;
    RgbPicture rgb{picture.width, picture.height, {}};
    rgb.bytes.reserve(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) * 3);
    const auto sample = [&picture](std::size_t plane, int x, int y) {
        const PlaneView &p = picture.planes[plane];
        return static_cast<double>(p.data[static_cast<std::ptrdiff_t>(y) * p.stride + x]);
    };
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const double luma = (sample(0, x, y) - lumaBase) / lumaSpan;
            const double u = (sample(1, x / 2, y / 2) - 128.0) / chromaSpan;
            const double v = (sample(2, x / 2, y / 2) - 128.0) / chromaSpan;
            rgb.bytes.push_back(toByte(luma + weights.redV * v));
            rgb.bytes.push_back(toByte(luma + weights.greenU * u + weights.greenV * v));
            rgb.bytes.push_back(toByte(luma + weights.blueU * u));
        }
    }
    return rgb;
}

int displayWidth(int width, uint32_t aspect) {
    const uint32_t wide = aspect >> 16;
    const uint32_t high = aspect & 0xFFFF;
    if (wide == 0 || high == 0) return width;
    const double shown = static_cast<double>(width) * wide / high;
    // A damaged stream may claim any ratio; beyond a factor of 8 it is not believed.
    if (shown > width * 8.0 || shown < width / 8.0) return width;
    return std::max(1, static_cast<int>(std::lround(shown)));
}

RgbPicture stretched(const RgbPicture &picture, int width) {
    if (width == picture.width) return picture;
    RgbPicture wide{width, picture.height, {}};
    wide.bytes.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(picture.height) * 3);
    const double step = static_cast<double>(picture.width) / width;
    for (int y = 0; y < picture.height; ++y) {
        const uint8_t *row = picture.bytes.data() + static_cast<std::ptrdiff_t>(y) * picture.width * 3;
        for (int x = 0; x < width; ++x) {
            const double from = std::clamp((x + 0.5) * step - 0.5, 0.0, picture.width - 1.0);
            const int left = static_cast<int>(from);
            const int right = std::min(left + 1, picture.width - 1);
            const double share = from - left;
            for (int c = 0; c < 3; ++c) {
                const double value = row[left * 3 + c] * (1.0 - share) + row[right * 3 + c] * share;
                wide.bytes.push_back(static_cast<uint8_t>(std::lround(value)));
            }
        }
    }
    return wide;
}

}  // namespace vexoplay
