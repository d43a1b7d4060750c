#pragma once

#include <cstdint>
#include <string>

#include "base/oriplayer/picture.h"

namespace support {

/// Path of a clip that the build made (tests/support/CMakeLists.txt lists them, make_clip.sh says what is in each).
/// Throws std::runtime_error if there is none of this name.
std::string clip(const std::string &name);

/// What the ffmpeg program says of a clip.
struct Expected {
    int pictures = 0;        ///< 0 if the clip has no picture
    std::string md5;         ///< over all pictures' I420 bytes without padding; "none" without pictures
    int64_t durationMs = 0;  ///< as the container tells it
};
Expected expected(const std::string &name);

/// The running number that make_clip.sh writes into each picture (from 0, modulo 256), read from its luma plane.
int pictureNumber(const uint8_t *luma, int stride);
inline int pictureNumber(const oriplayer::VideoPicture &picture) {
    return pictureNumber(picture.planes[0].data, picture.planes[0].stride);
}

}  // namespace support
