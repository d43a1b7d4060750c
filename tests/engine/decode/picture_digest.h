#pragma once

extern "C" {
#include <libavutil/md5.h>
#include <libavutil/mem.h>
}

#include <array>
#include <memory>
#include <string>

#include "ffmpeg.h"

/// MD5 over the I420 bytes of pictures, rows without padding.
class PictureDigest {
public:
    PictureDigest() : md5_(av_md5_alloc(), &av_free) { av_md5_init(md5_.get()); }

    void add(const AVFrame &frame) {
        addPlane(frame, 0, frame.width, frame.height);
        for (int plane : {1, 2}) addPlane(frame, plane, (frame.width + 1) / 2, (frame.height + 1) / 2);
    }

    std::string text() {
        std::array<uint8_t, 16> digest{};
        av_md5_final(md5_.get(), digest.data());
        std::string text;
        for (uint8_t byte : digest) {
            for (int digit : {byte >> 4, byte & 15}) text += "0123456789abcdef"[digit];
        }
        return text;
    }

private:
    void addPlane(const AVFrame &frame, int plane, int width, int rows) {
        for (int row = 0; row < rows; ++row) {
            const uint8_t *bytes = frame.data[plane] + static_cast<std::ptrdiff_t>(row) * frame.linesize[plane];
            av_md5_update(md5_.get(), bytes, static_cast<std::size_t>(width));
        }
    }

    std::unique_ptr<AVMD5, decltype(&av_free)> md5_;
};
