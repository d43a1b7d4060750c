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

    /// Shows a picture that is `lateUs` late (0 or less: in time), and keeps it for showAgain().
    void show(Picture picture, int64_t lateUs);
    /// Shows the last picture once more, with the crop and the subtitles of now. It is not counted.
    void showAgain();
    /// Counts a picture that is not shown because it is late.
    void drop();
    void close();

private:
    bool open();
    void closePipeline();
    void hand(const Picture &picture, int64_t lateUs);
    void render(const AVFrame &frame, const Picture &picture, int64_t lateUs);
    void draw(const AVFrame &frame);

    Stage &stage_;
    Picture last_;
    int64_t number_ = 0;                             ///< of last_: pictures before it, shown or not
    std::shared_ptr<VideoRenderPipeline> pipeline_;  ///< the one that was opened
};

}  // namespace oriplayer
