#pragma once

#include <memory>

#include "ffmpeg.h"

namespace oriplayer {

/// Brings any decoded picture into 8-bit I420 of the same size.
/// What is 8-bit planar 4:2:0 already (limited or full range) comes back as it is, its planes uncopied; all else is
/// converted by swscale into a frame from a pool, with the range of the source kept and its matrix untouched. RGB
/// becomes limited range, BT.709 from 720 rows on, else BT.601; the frame's colour properties say so. Gray keeps its
/// luma. Threads:  one at a time.
class PictureConverter {
public:
    PictureConverter();
    ~PictureConverter();
    PictureConverter(const PictureConverter &) = delete;
    PictureConverter &operator=(const PictureConverter &) = delete;

    /// Takes the frame; answers a frame of AV_PIX_FMT_YUV420P or YUVJ420P with the same times, colour properties and
    /// sample aspect ratio. Null with `error` set if it cannot be converted.
    FramePtr toI420(FramePtr frame, MediaError &error);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace oriplayer
