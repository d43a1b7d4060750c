#include "decode/decoder_threads.h"

extern "C" {
#include <libavutil/cpu.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>

namespace oriplayer {
namespace {

// FFmpeg warns of more, and no stream within kMostPixels gains by them.
constexpr int kMostThreads = 16;
// A second one pays for any stream: a seek decodes from the key frame as fast as it can.
constexpr int kUsualThreads = 2;
// 8192x4320 at 8 bits gets ten threads.
constexpr double kMostBytes = 512.0 * (1 << 20);
// Times the usual cost of playing: richer streams than those measured take up to four times as long, and the pictures
// from a key frame to the position sought shall take half the time that playing them takes.
constexpr double kSpare = 8.0;
constexpr double kUsualRate = 30.0;
constexpr double kHighestRate = 240.0;

// Pixels that one thread decodes in a second: 120 pictures of 1920x1080 at 3 to 12 Mbit/s, one core at 2.6 GHz,
// user time of `ffmpeg -benchmark -threads 1 -i FILE -an -f null -`.
double pixelsPerSecond(AVCodecID codec) {
    switch (codec) {
        case AV_CODEC_ID_MPEG2VIDEO:
            return 1200e6;
        case AV_CODEC_ID_H264:
            return 430e6;
        case AV_CODEC_ID_VP9:
            return 410e6;
        case AV_CODEC_ID_AV1:
            return 490e6;
        case AV_CODEC_ID_HEVC:
        default:
            return 290e6;
    }
}

double pixelsOf(const DecodingLoad &load) {
    return static_cast<double>(load.width) * load.height;
}

int neededThreads(const DecodingLoad &load) {
    const bool known = load.frameRate.num > 0 && load.frameRate.den > 0;
    const double rate = known ? std::min(av_q2d(load.frameRate), kHighestRate) : kUsualRate;
    const double threads = std::ceil(kSpare * pixelsOf(load) * rate / pixelsPerSecond(load.codec));
    return static_cast<int>(std::clamp<double>(threads, kUsualThreads, kMostThreads));
}

int affordableThreads(const DecodingLoad &load) {
    const AVPixFmtDescriptor *format = av_pix_fmt_desc_get(load.format);
    constexpr int kBitsOf420 = 12;
    const int bits = format ? av_get_padded_bits_per_pixel(format) : kBitsOf420;
    return static_cast<int>(std::clamp<double>(kMostBytes * 8 / (pixelsOf(load) * bits + 1), 1, kMostThreads));
}

}  // namespace

int decoderThreads(const DecodingLoad &load, const ThreadLimits &limits) {
    if (limits.exactly > 0) return limits.exactly;
    const int cores = limits.cores > 0 ? limits.cores : av_cpu_count();
    const int useful = limits.paced ? neededThreads(load) : kMostThreads;
    return std::max(1, std::min({cores, useful, affordableThreads(load)}));
}

}  // namespace oriplayer
