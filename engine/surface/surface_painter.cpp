#include "surface/surface_painter.h"

#include <SDL.h>

#include <cstring>

namespace oriplayer {
namespace {

int paintersOpen = 0;  // of the one thread

// SDL knows no BT.2020, and the full range only of BT.601: the range is the greater fault.
SDL_YUV_CONVERSION_MODE conversionOf(const AVFrame &picture) {
    if (picture.color_range == AVCOL_RANGE_JPEG || picture.format == AV_PIX_FMT_YUVJ420P)
        return SDL_YUV_CONVERSION_JPEG;
    switch (picture.colorspace) {
        case AVCOL_SPC_BT709:
        case AVCOL_SPC_BT2020_NCL:
            return SDL_YUV_CONVERSION_BT709;
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M:
            return SDL_YUV_CONVERSION_BT601;
        default:
            return picture.height >= 720 ? SDL_YUV_CONVERSION_BT709 : SDL_YUV_CONVERSION_BT601;
    }
}

}  // namespace

void SurfacePainter::Free::operator()(SDL_Window *window) const {
    SDL_DestroyWindow(window);
}
void SurfacePainter::Free::operator()(SDL_Renderer *renderer) const {
    SDL_DestroyRenderer(renderer);
}
void SurfacePainter::Free::operator()(SDL_Texture *texture) const {
    SDL_DestroyTexture(texture);
}

std::string SurfacePainter::open(void *handle) {
    handle_ = handle;
    if (std::string why = foreign_.open(handle); !why.empty()) return why;
    // SDL's video belongs to one thread: where the application has it, it is not ours.
    if (paintersOpen == 0 && SDL_WasInit(SDL_INIT_VIDEO) != 0) return "the application draws with SDL itself";
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    const char *renderer = SDL_GetHint(SDL_HINT_RENDER_DRIVER);
    const bool software = renderer && std::strcmp(renderer, "software") == 0;
    SDL_SetHint(SDL_HINT_VIDEO_FOREIGN_WINDOW_OPENGL, software ? "0" : "1");
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) return SDL_GetError();
    usesVideo_ = true;
    ++paintersOpen;
    if (std::strcmp(SDL_GetCurrentVideoDriver(), "x11") != 0) return "SDL does not draw with X";
    return openRenderer();
}

SurfacePainter::~SurfacePainter() {
    closeRenderer();
    if (!usesVideo_) return;
    --paintersOpen;
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

std::string SurfacePainter::openRenderer() {
    window_.reset(SDL_CreateWindowFrom(handle_));
    if (!window_) return SDL_GetError();
    renderer_.reset(SDL_CreateRenderer(window_.get(), -1, 0));
    if (!renderer_) renderer_.reset(SDL_CreateRenderer(window_.get(), -1, SDL_RENDERER_SOFTWARE));
    return renderer_ ? std::string() : SDL_GetError();
}

void SurfacePainter::closeRenderer() {
    texture_.reset();
    renderer_.reset();
    window_.reset();
}

bool SurfacePainter::fitTexture(const AVFrame &picture) {
    const SDL_YUV_CONVERSION_MODE conversion = conversionOf(picture);
    const bool fits = texture_ && textureWidth_ == picture.width && textureHeight_ == picture.height;
    if (fits && conversion_ == conversion) return true;
    SDL_SetYUVConversionMode(conversion);
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
    texture_.reset(SDL_CreateTexture(renderer_.get(), SDL_PIXELFORMAT_IYUV, SDL_TEXTUREACCESS_STREAMING, picture.width,
                                     picture.height));
    textureWidth_ = picture.width;
    textureHeight_ = picture.height;
    conversion_ = conversion;
    return texture_ != nullptr;
}

std::string SurfacePainter::show(const AVFrame &picture, const SurfaceView &view) {
    if (!fitTexture(picture)) return SDL_GetError();
    if (SDL_UpdateYUVTexture(texture_.get(), nullptr, picture.data[0], picture.linesize[0], picture.data[1],
                             picture.linesize[1], picture.data[2], picture.linesize[2]) != 0) {
        return SDL_GetError();
    }
    draw(picture, view);
    return {};
}

void SurfacePainter::draw(const AVFrame &picture, const SurfaceView &view) {
    const AVRational aspect = picture.sample_aspect_ratio;
    const double stretch = aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1.0;
    const SurfacePlace place =
        placeOnSurface(view, picture.width * stretch, picture.height, foreign_.width(), foreign_.height());
    const SDL_Rect target{place.x, place.y, place.width, place.height};
    SDL_SetRenderDrawColor(renderer_.get(), 0, 0, 0, 255);
    SDL_RenderClear(renderer_.get());
    SDL_RenderCopyEx(renderer_.get(), texture_.get(), nullptr, &target, place.clockwise, nullptr,
                     place.upsideDown ? SDL_FLIP_VERTICAL : SDL_FLIP_NONE);
    SDL_RenderPresent(renderer_.get());
}

std::string SurfacePainter::followWindow(const AVFrame *last, const SurfaceView &view) {
    const ForeignWindow::News news = foreign_.takeNews();
    if (news.gone) return "the window is gone";
    if (news.resized) {  // of a window that is not its own SDL does not learn it
        closeRenderer();
        if (std::string why = openRenderer(); !why.empty()) return why;
    }
    if (last && (news.resized || news.exposed)) return show(*last, view);
    return {};
}

}  // namespace oriplayer
