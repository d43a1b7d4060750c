#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "base/oriplayer/param.h"
#include "base/oriplayer/picture.h"

namespace oriplayer {

/// The part of a picture that is shown, as fractions of its width and height.
struct Crop {
    float left = 0.0F;
    float right = 1.0F;
    float top = 0.0F;
    float bottom = 1.0F;

    /// From the values of a crop setting: mode, x, y, left, right, top, bottom. Empty unless 0 <= left < right <= 1 and
    /// 0 <= top < bottom <= 1.
    static std::optional<Crop> read(const Param &values) {
        const Crop crop{values.getFloat(3), values.getFloat(4), values.getFloat(5), values.getFloat(6)};
        const bool sound = 0.0F <= crop.left && crop.left < crop.right && crop.right <= 1.0F && 0.0F <= crop.top &&
                           crop.top < crop.bottom && crop.bottom <= 1.0F;
        return sound ? std::optional(crop) : std::nullopt;
    }

    bool operator==(const Crop &) const = default;
    bool whole() const { return left <= 0.0F && right >= 1.0F && top <= 0.0F && bottom >= 1.0F; }

    /// Limits the planes and the size to the part that is shown. It begins on even pixels, where the chroma planes have
    /// a sample, and is at least two pixels wide and high if the picture is.
    void apply(VideoPicture &picture) const {
        if (whole()) return;
        const Span across = spanOf(left, right, picture.width);
        const Span down = spanOf(top, bottom, picture.height);
        for (int i = 0; i < 3; ++i) {
            const int shift = i == 0 ? 0 : 1;
            PlaneEntry &plane = picture.planes[i];
            plane.data += static_cast<int64_t>(down.begin >> shift) * plane.stride + (across.begin >> shift);
        }
        picture.width = across.size;
        picture.height = down.size;
    }

private:
    struct Span {
        int begin;
        int size;
    };
    static Span spanOf(float from, float to, int size) {
        const auto pixels = static_cast<double>(size);
        const int last = std::max(0, (size - 1) & ~1);
        const int begin = std::min(static_cast<int>(from * pixels) & ~1, last);
        const int end = std::clamp((static_cast<int>(to * pixels) + 1) & ~1, begin + 2, std::max(size, begin + 2));
        return {begin, std::min(end, size) - begin};
    }
};

}  // namespace oriplayer
