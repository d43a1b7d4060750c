#pragma once

#include <cstdint>
#include <memory>

#include "playback/stage.h"

namespace oriplayer {

/// Hands pictures to the pipeline: opens it before the first one, closes it at the end, fills the records.
/// Threads: everything on the thread "ori-show".
class PictureOutlet {
public:
    explicit PictureOutlet(Stage &stage) : stage_(stage) {}

    /// Shows a picture that is `lateUs` behind its time (0 or less: in time).
    void show(const Picture &picture, int64_t lateUs);
    /// Counts a picture that is not shown because it is late.
    void drop();
    void close();

private:
    bool open();
    void hand(const Picture &picture, int64_t lateUs);
    void render(const AVFrame &frame, const Picture &picture, int64_t lateUs);
    void draw(const AVFrame &frame);

    Stage &stage_;
    std::shared_ptr<VideoRenderPipeline> pipeline_;  ///< the one that was opened
};

}  // namespace oriplayer
