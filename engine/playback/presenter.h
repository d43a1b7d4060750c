#pragma once

#include <cstdint>
#include <optional>

#include "playback/impairments.h"
#include "playback/picture_outlet.h"
#include "playback/refill.h"
#include "playback/stage.h"

namespace oriplayer {

/// Presents the programme: shows each picture at its time, starts and stops clock and sound, and detects stalls and the
/// end. Nothing is presented before start().
///
/// Threads: all functions on the thread "ori-show".
class Presenter {
public:
    explicit Presenter(Stage &stage) : stage_(stage), outlet_(stage) {}
    void run();

private:
    /// When to run step() again if nothing wakes the thread before.
    using Next = std::optional<SteadyTime>;
    using Front = PictureQueue::Front;

    Next step();
    void followGeneration();
    void dropOutdated();
    Next play();
    Next playUntimed();
    void finishUnprepared();

    bool land();
    Next letRun();
    std::optional<SteadyTime> endBefore();
    Next showDue(const Front &front);
    bool tooLate(const Front &front, int64_t nowUs) const;
    void present(Picture picture, int64_t lateUs);
    Next awaitFirstSound();
    Next waitForMore();
    bool starved() const;
    void askForHeld();
    Next awaitPicture();
    Next finish();
    Next conclude(int64_t endUs);
    bool refilled();
    bool soundPlays() const;
    bool picturesEnded() const;
    bool everythingDecoded() const;
    void account();
    Impairments::Sound soundNow() const;

    Stage &stage_;
    PictureOutlet outlet_;
    Impairments impairments_{stage_.counters};
    // for the present generation
    uint32_t generation_ = 0;
    bool landed_ = false;
    uint32_t picturesEnd_ = 0;  ///< number of the last end that the pictures have reached
    bool stalled_ = false;
    bool resumes_ = false;                  ///< after a stall, until the clock runs
    std::optional<SteadyTime> emptySince_;  ///< no packet has arrived, and no picture was there to show
    int64_t readUs_ = 0;                    ///< end position of what had been read then
    bool pictureShown_ = false;
    int64_t lastEndUs_ = INT64_MIN;  ///< play scale, end of the last picture shown
    int64_t accountedUs_ = 0;        ///< play scale, end of what has been counted as presented
    SteadyTime landedAt_;
    // for the whole life of the player
    Refill refill_;
    bool firstTold_ = false;
    bool begun_ = false;
    SteadyTime askedAt_;  ///< for the pictures that the decoder holds back
    int dropped_ = 0;     ///< consecutive pictures
};

}  // namespace oriplayer
