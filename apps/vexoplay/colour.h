#pragma once

#include <cstdint>
#include <vector>

#include "i420_view.h"

namespace vexoplay {

enum class Matrix { kBt601, kBt709, kBt2020 };

/// The matrix of a picture with these RenderColorFlag bits; a stream that names none is taken by its height, as
/// players commonly do: BT.601 below 720 rows, else BT.709.
Matrix matrixOf(uint32_t colourFlags, int height);

struct RgbPicture {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> bytes;  ///< R, G, B, row after row without padding
};

/// Converts with the picture's own matrix and range; chroma of the nearest sample.
RgbPicture toRgb(const I420View &picture, uint32_t colourFlags);

/// The size at which a picture is shown with square pixels: the width is scaled. `aspect` as in kRenderAspect.
int displayWidth(int width, uint32_t aspect);

/// The picture with its width scaled to `width` (linear between columns).
RgbPicture stretched(const RgbPicture &picture, int width);

}  // namespace vexoplay
