#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "playback/crop.h"
#include "playback/stage.h"

namespace oriplayer {

/// Hands pictures to the pipeline or the window surface: opens the pipeline before the first picture, closes it at the
/// end, and fills the records. Keeps the last picture, to show it again if the crop changes while no other one is due.
/// Threads: all functions on the thread "ori-show".
class PictureOutlet {
public:
    explicit PictureOutlet(Stage &stage) : stage_(stage) {}

    /// Shows a picture that is `lateUs` microseconds late (0 or less: on time).
    void show(Picture picture, int64_t lateUs);
    /// Shows the last picture again, with the same number and position, if it belongs to this generation and was shown
    /// with another crop.
    void followCrop(uint32_t generation);
    /// Counts a picture that is not shown because it is too late.
    void drop();
    /// Closes the pipeline and releases the last picture.
    void close();

private:
    struct Shown {
        Picture picture;
        int64_t lateUs = 0;
        int64_t number = 0;  ///< count of pictures before it, including those that were left out
        int64_t lost = 0;    ///< count of pictures that were left out before it
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
