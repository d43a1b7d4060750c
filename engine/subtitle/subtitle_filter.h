#pragma once

#include "subtitle/event_times.h"
#include "subtitle/subtitle_drawer.h"

extern "C" {
#include <libavfilter/avfilter.h>
}

namespace oriplayer {

/// Draws with libass, which FFmpeg's filter "subtitles" drives.
/// Threads: one at a time.
class SubtitleFilter final : public SubtitleDrawer {
public:
    SubtitleFilter(const SubtitleFile &file, const SubtitleLook &look, const PictureShape &shape);

    /// Once, before all else.
    MediaError open();

    bool visibleAt(int64_t positionMs) const override { return times_.covers(positionMs); }
    FramePtr draw(FramePtr picture, int64_t positionMs, MediaError &error) override;

private:
    MediaError connect(const std::string &path, const std::string &fontFamily, const std::string &fontFolder);
    MediaError addSource();
    MediaError addText(const std::string &path, const std::string &style, const std::string &fontFolder);
    MediaError addSink();
    MediaError rehearse();
    AVPixelFormat format() const { return shape_.fullRange ? AV_PIX_FMT_YUVJ420P : AV_PIX_FMT_YUV420P; }

    struct GraphFree {
        void operator()(AVFilterGraph *graph) const { avfilter_graph_free(&graph); }
    };

    const SubtitleFile file_;
    const SubtitleLook look_;
    const PictureShape shape_;
    EventTimes times_;
    std::unique_ptr<AVFilterGraph, GraphFree> graph_;
    AVFilterContext *source_ = nullptr;  // of the graph
    AVFilterContext *text_ = nullptr;
    AVFilterContext *sink_ = nullptr;
};

}  // namespace oriplayer
