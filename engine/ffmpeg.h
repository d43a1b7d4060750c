#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libavutil/frame.h>
}

#include <memory>
#include <string>

namespace oriplayer {

struct FrameFree {
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};
struct PacketFree {
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};
using FramePtr = std::unique_ptr<AVFrame, FrameFree>;
using PacketPtr = std::unique_ptr<AVPacket, PacketFree>;

/// Pictures larger than this (8192 x 8192) are taken for damage or an attack: one of them costs 100 MB.
constexpr int64_t kMostPixels = int64_t{8192} * 8192;

/// What went wrong in FFmpeg's terms: `native` 0 is success, else an AVERROR; `text` says what was tried, on what, and
/// FFmpeg's own words.
struct MediaError {
    int native = 0;
    std::string text;
    explicit operator bool() const { return native != 0; }
};

/// FFmpeg's text for an AVERROR.
inline std::string avErrorText(int native) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(native, text, sizeof text);
    return text;
}

}  // namespace oriplayer
