#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "subtitle/subtitle_drawer.h"

namespace oriplayer {

/// The subtitles of one player: which files, in which look, and their drawing into its pictures. Files are read on a
/// thread of their own, anew whenever the choice or the shape of the pictures changes; until one is there, or if it
/// cannot be read, pictures pass as they are.
///
/// Threads: run() is the body of the thread that reads, launched by whom choose() told to; draw() the picture thread's;
///          all else any.
/// Lock:    mutex_, a leaf: nothing is read or drawn under it.
class Subtitles {
public:
    /// Told of what cannot be read or drawn, with no lock held.
    using Tell = std::function<void(const std::string &line)>;
    explicit Subtitles(Tell tell) : tell_(std::move(tell)) {}

    /// None: no subtitles. True, once, if the thread is to be launched.
    bool choose(std::vector<SubtitleFile> files);
    void setLook(SubtitleLook look);
    /// By how much texts come later than their files say; negative: earlier.
    void setDelay(int64_t delayMs) { delayMs_ = delayMs; }
    /// Pictures of this size will come: what can be made ready is made ready.
    void expectSize(int width, int height);

    enum class Patience { kNone, kUntilRead };
    /// The picture with what is visible at that position, or null if it is to be shown as it is.
    FramePtr draw(const AVFrame &picture, int64_t positionUs, Patience patience);

    void run();
    /// Ends run(), and draw()'s waiting.
    void stop();
    /// Files that could not be read or drawn.
    int failures() const { return failures_; }

private:
    struct Choice {
        std::vector<SubtitleFile> files;
        SubtitleLook look;
        PictureShape shape;
    };
    using Drawers = std::vector<std::unique_ptr<SubtitleDrawer>>;
    struct Ready {
        Choice choice;
        std::shared_ptr<const Drawers> drawers;
    };

    template <typename Change> std::shared_ptr<const Drawers> change(Change change);
    std::optional<Choice> awaitChoice();
    std::shared_ptr<const Drawers> read(const Choice &choice);
    void publish(Ready ready);
    std::shared_ptr<const Drawers> drawersFor(const PictureShape &shape, Patience patience);
    bool complete() const { return taken_ == wanted_ && !reading_; }
    void fail(const std::string &path, const MediaError &error);

    const Tell tell_;
    std::atomic<bool> chosen_{false};
    std::atomic<int64_t> delayMs_{0};
    std::atomic<int> failures_{0};

    std::mutex mutex_;
    std::condition_variable changed_;
    // Guarded by mutex_.
    bool launched_ = false;
    bool stopped_ = false;
    bool reading_ = false;
    Choice choice_;
    Ready ready_;
    uint32_t wanted_ = 0;  ///< number of the last change
    uint32_t taken_ = 0;   ///< of the last one that the thread has taken up
};

}  // namespace oriplayer
