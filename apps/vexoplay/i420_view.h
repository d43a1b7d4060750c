#pragma once

#include <array>
#include <cstdint>

namespace vexoplay {

/// One plane as it lies in memory.
struct PlaneView {
    const uint8_t *data = nullptr;
    int stride = 0;
    int width = 0;  ///< bytes of picture in a row
    int rows = 0;
};

/// An 8-bit I420 picture in somebody else's memory.
struct I420View {
    int width = 0;
    int height = 0;
    std::array<PlaneView, 3> planes;

    /// Calls `take(row, bytes)` for every row of Y, U, V, without padding.
    template <typename Take> void forEachRow(Take &&take) const {
        for (const PlaneView &plane : planes) {
            for (int y = 0; y < plane.rows; ++y) {
                take(plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride, static_cast<std::size_t>(plane.width));
            }
        }
    }
};

/// Fills in the sizes that follow from width and height.
inline I420View makeI420View(int width, int height, const std::array<const uint8_t *, 3> &data,
                             const std::array<int, 3> &strides) {
    const int chromaWidth = (width + 1) / 2;
    const int chromaRows = (height + 1) / 2;
    return {width,
            height,
            {{{data[0], strides[0], width, height},
              {data[1], strides[1], chromaWidth, chromaRows},
              {data[2], strides[2], chromaWidth, chromaRows}}}};
}

}  // namespace vexoplay
