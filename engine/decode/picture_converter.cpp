#include "decode/picture_converter.h"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <array>
#include <cstring>
#include <utility>

namespace oriplayer {

namespace {

// What libswscale's vector code asks of rows that it writes, and may write behind the last of them.
constexpr int kRowAlignment = 32;
constexpr int kWrittenBehind = 64;
// BT.709 from here on where nothing names a matrix: the same border as the application's.
constexpr int kFirstHdHeight = 720;
// Chroma of 4:2:0 lies between two rows, in 256ths of a row; with a row of chroma for each of luma there is nothing to
// say.
constexpr int kChromaBetweenRows = 128;
constexpr int kChromaUnsaid = -513;

struct SwsFree {
    void operator()(SwsContext *scaler) const { sws_freeContext(scaler); }
};
struct PoolFree {
    void operator()(AVBufferPool *pool) const { av_buffer_pool_uninit(&pool); }
};

constexpr int aligned(int bytes) {
    return (bytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
}

bool isGray(const AVPixFmtDescriptor &format) {
    return !(format.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) && format.nb_components < 3;
}

/// Everything that a scaler is built from; another shape needs another scaler.
struct Shape {
    int width = 0;
    int height = 0;
    AVPixelFormat format = AV_PIX_FMT_NONE;
    bool rgb = false;
    bool fullIn = false;
    bool fullOut = false;
    bool operator==(const Shape &) const = default;
};

/// libswscale's short ways out of packed 4:2:2 take two rows at a time and leave the chroma of an odd last one out.
bool lacksLastChromaRow(const AVFrame &picture, const AVPixFmtDescriptor &source) {
    return picture.height % 2 == 1 && !(source.flags & (AV_PIX_FMT_FLAG_PLANAR | AV_PIX_FMT_FLAG_RGB)) &&
           source.nb_components >= 3;
}

void repeatLastChromaRow(AVFrame &picture) {
    const auto bytes = static_cast<std::size_t>((picture.width + 1) / 2);
    const int last = picture.height / 2;
    for (int plane : {1, 2}) {
        uint8_t *row = picture.data[plane] + static_cast<std::ptrdiff_t>(last) * picture.linesize[plane];
        if (last > 0) {
            std::memcpy(row, row - picture.linesize[plane], bytes);
        } else {
            std::memset(row, 128, bytes);
        }
    }
}

/// The formats that carry full range in their name, without it: the scaler is told the range anyway.
AVPixelFormat withoutRange(AVPixelFormat format) {
    switch (format) {
        case AV_PIX_FMT_YUVJ422P:
            return AV_PIX_FMT_YUV422P;
        case AV_PIX_FMT_YUVJ444P:
            return AV_PIX_FMT_YUV444P;
        case AV_PIX_FMT_YUVJ440P:
            return AV_PIX_FMT_YUV440P;
        case AV_PIX_FMT_YUVJ411P:
            return AV_PIX_FMT_YUV411P;
        default:
            return format;
    }
}

Shape shapeOf(const AVFrame &frame, const AVPixFmtDescriptor &format) {
    const auto named = static_cast<AVPixelFormat>(frame.format);
    Shape shape{frame.width, frame.height, withoutRange(named)};
    const bool full = shape.format != named || frame.color_range == AVCOL_RANGE_JPEG;
    shape.rgb = (format.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
    // libswscale takes all gray as full range: told the same of both sides it leaves the values alone.
    shape.fullIn = shape.rgb || isGray(format) || full;
    shape.fullOut = shape.fullIn && !shape.rgb;
    return shape;
}

}  // namespace

struct PictureConverter::Impl {
    Shape shape;
    std::unique_ptr<SwsContext, SwsFree> scaler;
    std::unique_ptr<AVBufferPool, PoolFree> pool;

    int rebuild(const Shape &wanted);
    int makeScaler();
    FramePtr blank() const;
};

int PictureConverter::Impl::rebuild(const Shape &wanted) {
    if (scaler && wanted == shape) return 0;
    shape = wanted;
    int result = makeScaler();
    const int chromaBytes = aligned((wanted.width + 1) / 2) * ((wanted.height + 1) / 2);
    const int bytes = aligned(wanted.width) * wanted.height + 2 * chromaBytes + kWrittenBehind;
    pool.reset(av_buffer_pool_init(static_cast<std::size_t>(bytes), nullptr));
    if (result >= 0 && !pool) result = AVERROR(ENOMEM);
    if (result < 0) scaler.reset();
    return result;
}

int PictureConverter::Impl::makeScaler() {
    scaler.reset(sws_alloc_context());
    if (!scaler) return AVERROR(ENOMEM);
    const bool halfRows = av_pix_fmt_desc_get(shape.format)->log2_chroma_h == 1;
    const std::array<std::pair<const char *, int>, 11> settings{
        {{"srcw", shape.width},
         {"srch", shape.height},
         {"src_format", shape.format},
         {"src_range", shape.fullIn},
         {"dstw", shape.width},
         {"dsth", shape.height},
         {"dst_format", AV_PIX_FMT_YUV420P},
         {"dst_range", shape.fullOut},
         {"src_v_chr_pos", halfRows ? kChromaBetweenRows : kChromaUnsaid},
         {"dst_v_chr_pos", kChromaBetweenRows},
         {"sws_flags", SWS_BICUBIC | (shape.rgb ? SWS_FULL_CHR_H_INP : 0)}}};
    for (const auto &[name, value] : settings) av_opt_set_int(scaler.get(), name, value, 0);
    const int result = sws_init_context(scaler.get(), nullptr, nullptr);
    // Without tables of its own the scaler has the same matrix on both sides: only RGB needs to name one.
    if (result < 0 || !shape.rgb) return result;
    const int *matrix = sws_getCoefficients(shape.height >= kFirstHdHeight ? SWS_CS_ITU709 : SWS_CS_ITU601);
    return sws_setColorspaceDetails(scaler.get(), matrix, 1, matrix, 0, 0, 1 << 16, 1 << 16);
}

FramePtr PictureConverter::Impl::blank() const {
    FramePtr frame(av_frame_alloc());
    if (!frame) return nullptr;
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = shape.width;
    frame->height = shape.height;
    frame->buf[0] = av_buffer_pool_get(pool.get());
    if (!frame->buf[0]) return nullptr;
    const int luma = aligned(shape.width);
    const int chroma = aligned((shape.width + 1) / 2);
    frame->linesize[0] = luma;
    frame->linesize[1] = frame->linesize[2] = chroma;
    frame->data[0] = frame->buf[0]->data;
    frame->data[1] = frame->data[0] + static_cast<std::ptrdiff_t>(luma) * shape.height;
    frame->data[2] = frame->data[1] + static_cast<std::ptrdiff_t>(chroma) * ((shape.height + 1) / 2);
    return frame;
}

PictureConverter::PictureConverter() : impl_(std::make_unique<Impl>()) {}
PictureConverter::~PictureConverter() = default;

FramePtr PictureConverter::toI420(FramePtr frame, MediaError &error) {
    error = {};
    if (frame->format == AV_PIX_FMT_YUV420P || frame->format == AV_PIX_FMT_YUVJ420P) return frame;
    const auto source = static_cast<AVPixelFormat>(frame->format);
    const AVPixFmtDescriptor *format = av_pix_fmt_desc_get(source);
    int result = format && sws_isSupportedInput(source) ? 0 : AVERROR(ENOSYS);
    const Shape shape = format ? shapeOf(*frame, *format) : Shape{};
    if (result >= 0) result = impl_->rebuild(shape);
    FramePtr picture = result >= 0 ? impl_->blank() : nullptr;
    if (result >= 0 && !picture) result = AVERROR(ENOMEM);
    if (result >= 0) result = av_frame_copy_props(picture.get(), frame.get());
    if (result >= 0) {
        result = sws_scale(impl_->scaler.get(), frame->data, frame->linesize, 0, frame->height, picture->data,
                           picture->linesize);
    }
    if (result < 0) {
        error = {result, std::string("cannot convert a picture from ") + (format ? format->name : "an unknown format") +
                             ": " + avErrorText(result)};
        return nullptr;
    }
    if (lacksLastChromaRow(*picture, *format)) repeatLastChromaRow(*picture);
    if (shape.rgb) {
        picture->colorspace = shape.height >= kFirstHdHeight ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
        picture->color_range = AVCOL_RANGE_MPEG;
    } else if (picture->color_range == AVCOL_RANGE_UNSPECIFIED && shape.fullOut) {
        picture->color_range = AVCOL_RANGE_JPEG;
    }
    return picture;
}

}  // namespace oriplayer
