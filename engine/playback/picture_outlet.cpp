#include "playback/picture_outlet.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/oriplayer/picture.h"
#include "ffmpeg_versions.h"

namespace oriplayer {
namespace {

uint32_t clampWord(int64_t value) {
    return static_cast<uint32_t>(std::clamp<int64_t>(value, 0, UINT32_MAX));
}

uint32_t matrixOf(AVColorSpace space) {
    switch (space) {
        case AVCOL_SPC_BT709:
            return kRenderMatrixKnown | kRenderBt709;
        case AVCOL_SPC_BT2020_NCL:
            return kRenderMatrixKnown | kRenderBt2020;
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M:
            return kRenderMatrixKnown;
        default:
            return 0;
    }
}

uint32_t colorOf(const AVFrame &frame) {
    const bool full = frame.color_range == AVCOL_RANGE_JPEG || frame.format == AV_PIX_FMT_YUVJ420P;
    return (full ? kRenderFullRange : 0u) | (isInterlaced(frame) ? kRenderInterlaced : 0u) | matrixOf(frame.colorspace);
}

uint32_t aspectOf(const AVFrame &frame) {
    const AVRational aspect = frame.sample_aspect_ratio;
    const bool square = aspect.num <= 0 || aspect.den <= 0 || aspect.num == aspect.den;
    if (square || aspect.num > 0xFFFF || aspect.den > 0xFFFF) return 0;
    return static_cast<uint32_t>(aspect.num) << 16 | static_cast<uint32_t>(aspect.den);
}

VideoPicture wholeOf(const AVFrame &frame, std::array<PlaneEntry, 3> &planes) {
    for (std::size_t i = 0; i < planes.size(); ++i) planes[i] = {frame.linesize[i], frame.data[i]};
    return {frame.width, frame.height, 0, {}, planes.data()};
}

}  // namespace

void PictureOutlet::show(Picture picture, int64_t lateUs) {
    stage_.tellSize(picture.frame->width, picture.frame->height);
    const int64_t lost = stage_.counters.picturesDropped + stage_.counters.picturesSkipped;
    last_ = {std::move(picture), lateUs, stage_.counters.picturesShown + lost, lost, stage_.settings.crop()};
    if (stage_.showPictures) hand(*last_);
    ++stage_.counters.picturesShown;
}

void PictureOutlet::followCrop(uint32_t generation) {
    if (!last_ || last_->picture.generation != generation) return;
    const Crop crop = stage_.settings.crop();
    if (std::exchange(last_->crop, crop) != crop && stage_.showPictures) hand(*last_);
}

void PictureOutlet::drop() {
    ++stage_.counters.picturesDropped;
}

// Follows a pipeline that the application has replaced during playback. False if there is none.
bool PictureOutlet::open() {
    const auto wanted = stage_.settings.pipeline();
    if (wanted == pipeline_) return pipeline_ != nullptr;
    closePipeline();
    const CallbackGate::Pass pass(stage_.pictureGate);
    if (!wanted || !pass) return false;
    DRWSetup *setup = nullptr;
    wanted->Open(setup);
    pipeline_ = wanted;
    return true;
}

void PictureOutlet::close() {
    last_.reset();
    closePipeline();
}

// Also runs after stop(): that delivers no more pictures, but waits until the pipeline is closed.
void PictureOutlet::closePipeline() {
    if (!pipeline_) return;
    pipeline_->Close();
    pipeline_.reset();
}

// Hands the picture to the pipeline or, without one, to the window surface.
void PictureOutlet::hand(const Shown &shown) {
    const Picture &picture = shown.picture;
    const bool piped = open();
    if (!piped && !stage_.surface.wanted()) return;
    const auto patience = stage_.untimed ? Subtitles::Patience::kUntilRead : Subtitles::Patience::kNone;
    const FramePtr drawn = stage_.subtitles.draw(*picture.frame, picture.playUs - picture.baseUs, patience);
    const AVFrame &frame = drawn ? *drawn : *picture.frame;
    piped ? render(frame, shown) : draw(frame, shown.crop);
}

void PictureOutlet::draw(const AVFrame &frame, const Crop &crop) {
    FramePtr shown(av_frame_clone(&frame));
    if (!shown) return;
    std::array<PlaneEntry, 3> planes{};
    VideoPicture part = wholeOf(frame, planes);
    crop.apply(part);
    for (std::size_t i = 0; i < planes.size(); ++i) shown->data[i] = planes[i].data;
    shown->width = part.width;
    shown->height = part.height;
    if (const CallbackGate::Pass pass(stage_.pictureGate); pass) stage_.surface.show(std::move(shown));
}

void PictureOutlet::render(const AVFrame &frame, const Shown &shown) {
    const Picture &picture = shown.picture;
    std::array<PlaneEntry, 3> planes{};
    VideoPicture video = wholeOf(frame, planes);
    shown.crop.apply(video);
    const auto positionUs = static_cast<uint64_t>(picture.playUs - picture.baseUs);
    RenderRecord record{};
    record.words[kRenderPositionLow] = static_cast<uint32_t>(positionUs);
    record.words[kRenderPositionHigh] = static_cast<uint32_t>(positionUs >> 32);
    record.words[kRenderDuration] = clampWord(picture.durationUs);
    record.words[kRenderNumber] = static_cast<uint32_t>(shown.number);
    record.words[kRenderDropped] = clampWord(shown.lost);
    record.words[kRenderLateness] = clampWord(shown.lateUs);
    record.words[kRenderColor] = colorOf(frame);
    record.words[kRenderAspect] = aspectOf(frame);
    record.picture = &video;
    if (const CallbackGate::Pass pass(stage_.pictureGate); pass) {
        Stopwatch watch(stage_.counters.renderUs);
        pipeline_->Render(&record);
    }
}

}  // namespace oriplayer
