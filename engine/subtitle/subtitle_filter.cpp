#include "subtitle/subtitle_filter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>

#include "decimal_point.h"
#include "subtitle/font_file.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

namespace oriplayer {
namespace {

// The renderer cuts milliseconds off: in the middle of one rounding does no harm.
constexpr int kUnitsPerMs = 1000;
constexpr int64_t kMiddle = 500;

MediaError failed(int result, const char *what) {
    return {result, std::string(what) + ": " + avErrorText(result)};
}

// The script's own way to write a colour: transparency, blue, green, red.
std::string colour(int value) {
    const auto bits = static_cast<uint32_t>(value);
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "&H%02X%02X%02X%02X", bits >> 24, bits & 0xFFU, bits >> 8 & 0xFFU,
                  bits >> 16 & 0xFFU);
    return text.data();
}

// Entries are separated by commas, which no name may bring along.
std::string entry(const char *key, std::string value) {
    std::erase_if(value, [](char character) { return character == ',' || character == '='; });
    return std::string(key) + "=" + value + ",";
}

std::string styleOf(const SubtitleLook &look, const std::string &fontFamily, const SubtitleFile &file, int scriptRows) {
    constexpr int kRowsOfSize = 720;
    std::string style;
    if (!fontFamily.empty()) style += entry("FontName", fontFamily);
    if (look.fontSize > 0) style += entry("FontSize", std::to_string(1.0 * look.fontSize * scriptRows / kRowsOfSize));
    if (look.textColor != 0) style += entry("PrimaryColour", colour(look.textColor));
    if (look.backgroundColor != 0) {
        style += entry("BorderStyle", "3") + entry("Shadow", "0");
        style +=
            entry("OutlineColour", colour(look.backgroundColor)) + entry("BackColour", colour(look.backgroundColor));
    }
    if (file.atTop) style += entry("Alignment", "6");  // the renderer's own number for top and centre
    if (!style.empty()) style.pop_back();
    return style;
}

// On pixels that are not square the letters are made for the size at which the picture is shown.
std::string shownSize(const PictureShape &shape) {
    const auto width = static_cast<int>(av_rescale(shape.width, shape.aspectNum, shape.aspectDen));
    return std::to_string(std::max(width, 1)) + "x" + std::to_string(shape.height);
}

}  // namespace

SubtitleFilter::SubtitleFilter(const SubtitleFile &file, const SubtitleLook &look, const PictureShape &shape)
    : file_(file), look_(look), shape_(shape) {}

MediaError SubtitleFilter::open() {
    const DecimalPoint point;
    // The name is always that of a local file, even if it looks like a URL.
    const std::string path = file_.path.rfind("file:", 0) == 0 ? file_.path : "file:" + file_.path;
    if (MediaError error = readEventTimes(path, times_)) return error;
    const bool ownFont = look_.fontName.find('/') != std::string::npos;
    FontFile font;
    if (ownFont) {
        if (MediaError error = font.open(look_.fontName)) return error;
    }
    if (MediaError error = connect(path, ownFont ? font.family() : look_.fontName, font.folder())) return error;
    return rehearse();
}

MediaError SubtitleFilter::connect(const std::string &path, const std::string &fontFamily,
                                   const std::string &fontFolder) {
    graph_.reset(avfilter_graph_alloc());
    if (!graph_) return {AVERROR(ENOMEM), "no memory"};
    graph_->nb_threads = 1;
    avfilter_graph_set_auto_convert(graph_.get(), static_cast<unsigned>(AVFILTER_AUTO_CONVERT_NONE));
    if (MediaError error = addSource()) return error;
    if (MediaError error = addText(path, styleOf(look_, fontFamily, file_, times_.scriptRows), fontFolder))
        return error;
    if (MediaError error = addSink()) return error;
    const int result = avfilter_graph_config(graph_.get(), nullptr);
    return result < 0 ? failed(result, "preparing to draw text") : MediaError();
}

MediaError SubtitleFilter::addSource() {
    source_ = avfilter_graph_alloc_filter(graph_.get(), avfilter_get_by_name("buffer"), "pictures");
    AVBufferSrcParameters *const parameters = av_buffersrc_parameters_alloc();
    if (!source_ || !parameters) {
        av_free(parameters);
        return {AVERROR(ENOMEM), "no memory"};
    }
    parameters->format = format();
    parameters->width = shape_.width;
    parameters->height = shape_.height;
    parameters->time_base = {1, 1000 * kUnitsPerMs};
    parameters->sample_aspect_ratio = {shape_.aspectNum, shape_.aspectDen};
    int result = av_buffersrc_parameters_set(source_, parameters);
    av_free(parameters);
    if (result >= 0) result = avfilter_init_dict(source_, nullptr);
    return result < 0 ? failed(result, "preparing pictures") : MediaError();
}

MediaError SubtitleFilter::addText(const std::string &path, const std::string &style, const std::string &fontFolder) {
    const AVFilter *const subtitles = avfilter_get_by_name("subtitles");
    if (!subtitles) return {AVERROR_FILTER_NOT_FOUND, "this FFmpeg draws no subtitles"};
    text_ = avfilter_graph_alloc_filter(graph_.get(), subtitles, "text");
    if (!text_) return {AVERROR(ENOMEM), "no memory"};
    AVDictionary *options = nullptr;
    av_dict_set(&options, "filename", path.c_str(), 0);
    if (!style.empty()) av_dict_set(&options, "force_style", style.c_str(), 0);
    if (!fontFolder.empty()) av_dict_set(&options, "fontsdir", fontFolder.c_str(), 0);
    if (!times_.utf8) av_dict_set(&options, "charenc", "CP1252", 0);
    if (shape_.aspectNum != shape_.aspectDen) av_dict_set(&options, "original_size", shownSize(shape_).c_str(), 0);
    int result = avfilter_init_dict(text_, &options);
    av_dict_free(&options);
    if (result >= 0) result = avfilter_link(source_, 0, text_, 0);
    return result < 0 ? failed(result, "reading the texts") : MediaError();
}

MediaError SubtitleFilter::addSink() {
    const int result = avfilter_graph_create_filter(&sink_, avfilter_get_by_name("buffersink"), "drawn", nullptr,
                                                    nullptr, graph_.get());
    if (result < 0) return failed(result, "preparing drawn pictures");
    const int linked = avfilter_link(text_, 0, sink_, 0);
    return linked < 0 ? failed(linked, "preparing drawn pictures") : MediaError();
}

// Fonts are looked for with the first text that is drawn, which takes longer than a picture may.
MediaError SubtitleFilter::rehearse() {
    FramePtr picture(av_frame_alloc());
    if (!picture) return {AVERROR(ENOMEM), "no memory"};
    picture->format = format();
    picture->width = shape_.width;
    picture->height = shape_.height;
    if (const int result = av_frame_get_buffer(picture.get(), 0); result < 0) return failed(result, "a first picture");
    MediaError error;
    draw(std::move(picture), times_.spans.front().beginMs, error);
    return error;
}

FramePtr SubtitleFilter::draw(FramePtr picture, int64_t positionMs, MediaError &error) {
    const int64_t pts = picture->pts;
    picture->pts = positionMs * kUnitsPerMs + kMiddle;
    picture->format = format();
    int result = av_buffersrc_add_frame_flags(source_, picture.get(), AV_BUFFERSRC_FLAG_PUSH);
    FramePtr drawn(av_frame_alloc());
    if (!drawn) result = AVERROR(ENOMEM);
    if (result >= 0) result = av_buffersink_get_frame(sink_, drawn.get());
    if (result < 0) {
        error = failed(result, "drawing text");
        return nullptr;
    }
    drawn->pts = pts;
    return drawn;
}

}  // namespace oriplayer

extern "C" __attribute__((visibility("default"))) oriplayer::SubtitleDrawer *ori_open_subtitles_1(
    const oriplayer::SubtitleFile &file, const oriplayer::SubtitleLook &look, const oriplayer::PictureShape &shape,
    oriplayer::MediaError &error) {
    try {
        auto filter = std::make_unique<oriplayer::SubtitleFilter>(file, look, shape);
        error = filter->open();
        return error ? nullptr : filter.release();
    } catch (const std::exception &exception) {
        error.native = AVERROR(ENOMEM);
    }
    return nullptr;
}
