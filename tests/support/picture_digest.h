#pragma once

extern "C" {
#include <libavutil/md5.h>
#include <libavutil/mem.h>
}

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "base/oriplayer/picture.h"

namespace support {

/// MD5 over the I420 bytes of pictures, rows without padding, as Expected::md5 has it.
class PictureDigest {
public:
    PictureDigest() { av_md5_init(md5_.get()); }

    void add(const oriplayer::VideoPicture &picture) {
        addPlane(picture.planes[0], picture.width, picture.height);
        for (int i : {1, 2}) addPlane(picture.planes[i], (picture.width + 1) / 2, (picture.height + 1) / 2);
    }
    /// Of what was added so far; more may follow.
    std::string text() const {
        std::array<uint8_t, 16> digest{};
        Md5 copy = allocate();
        std::memcpy(copy.get(), md5_.get(), static_cast<std::size_t>(av_md5_size));
        av_md5_final(copy.get(), digest.data());
        std::string text;
        for (uint8_t byte : digest) {
            for (int digit : {byte >> 4, byte & 15}) text += "0123456789abcdef"[digit];
        }
        return text;
    }

private:
    using Md5 = std::unique_ptr<AVMD5, void (*)(void *)>;
    static Md5 allocate() { return {av_md5_alloc(), av_free}; }

    void addPlane(const oriplayer::PlaneEntry &plane, int width, int rows) {
        for (int row = 0; row < rows; ++row) {
            av_md5_update(md5_.get(), plane.data + static_cast<std::ptrdiff_t>(row) * plane.stride,
                          static_cast<std::size_t>(width));
        }
    }

    Md5 md5_ = allocate();
};

}  // namespace support
