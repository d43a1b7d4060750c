#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vexoplay {

/// Event numbers of the library that the player looks at.
enum EventNumber : int {
    kEventSize = 306,
    kEventOpenFailed = 501,
    kEventNothingToPlay = 502,
    kEventReadFailed = 503,
    kEventDecodeFailed = 504,
    kEventSoundFailed = 505,  ///< a warning: the pictures go on
    kEventPrepared = 1000,
    kEventEnd = 1001,
    kEventFirstPresented = 1017,
    kEventHandedBack = 10240,  ///< the programme goes on behind an interruption
    kEventNoAnswer = 0,        ///< our own: neither prepared nor failed in time
};

/// One event as it reached the player.
struct PlayEvent {
    int number = 0;
    int ext1 = 0;
    int ext2 = 0;
    int timeline = 0;
    int item = -1;  ///< in the programme, or on timeline 1 among the interrupting files
    int playerId = -1;
    int64_t positionMs = 0;
    int64_t wallUs = 0;
    int width = 0;  ///< of kEventSize
    int height = 0;
    int nativeError = 0;           ///< of the error events
    bool subtitlesFailed = false;  ///< of its item, so far
    std::string text;
    std::vector<std::pair<int, std::string>> infos;  ///< what the library tells, by key
    std::string url;                                 ///< of an interrupting file

    /// Another source for the item could not take over; it goes on as before.
    bool changeFailed() const { return number == kEventReadFailed && ext1 == 2; }
    /// The item cannot go on.
    bool fatal() const {
        if (changeFailed()) return false;
        return (number >= kEventOpenFailed && number <= kEventDecodeFailed) || number == kEventNoAnswer;
    }
};

/// What was tried when the event came, for messages: "opening", "reading" ...
const char *attemptOf(int eventNumber);

}  // namespace vexoplay
