#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "playback/crop.h"
#include "playback/stage.h"

namespace oriplayer {

/// Hands pictures to the pipeline: opens it before the first one, closes it at the end, fills the records. Keeps the
/// picture shown last, to show it again when the crop changes while it stands.
/// Threads: everything on the thread "ori-show".
class PictureOutlet {
public:
    explicit PictureOutlet(Stage &stage) : stage_(stage) {}

    /// Shows a picture that is `lateUs` behind its time (0 or less: in time).
    void show(Picture picture, int64_t lateUs);
    /// Hands out the picture shown last once more, with the same number and position, if it is of this generation and
    /// was shown with another crop.
    void followCrop(uint32_t generation);
    /// Counts a picture that is not shown because it is late.
    void drop();
    void close();

private:
    struct Shown {
        Picture picture;
        int64_t lateUs = 0;
        int64_t number = 0;  ///< running, the pictures left out included
        int64_t lost = 0;    ///< pictures left out before it
        Crop crop;
    };
    bool open();
    void closePipeline();
    void hand(const Shown &shown);
    void render(const AVFrame &frame, const Shown &shown);
    void draw(const AVFrame &frame, const Crop &crop);

    Stage &stage_;
    std::shared_ptr<VideoRenderPipeline> pipeline_;  ///< the one that was opened
    std::optional<Shown> last_;
};

}  // namespace oriplayer
