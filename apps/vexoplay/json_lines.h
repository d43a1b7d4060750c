#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bound_log.h"
#include "play_event.h"
#include "programme.h"

namespace Json {
class Value;
}

namespace vexoplay {

/// The value as text without line breaks; bytes that are no UTF-8 are replaced.
std::string oneLine(const Json::Value &value);

/// An event as a line; `beganUs` is the start of the program.
std::string eventLine(const PlayEvent &event, const Programme &programme, int64_t beganUs);

/// One of the library's texts on the playback of an item.
std::string infoLine(int item, int key, const std::string &text, const Programme &programme);

/// A change from one bound of the programme to its next, by their places in the summary's list.
struct BoundSwitch {
    int from = 0;
    int to = 0;
    bool measured = false;  ///< both bounds showed pictures
    double gapMs = 0.0;     ///< wall time between their pictures, less the time the last one was meant to be shown
};
std::vector<BoundSwitch> switchesOf(const std::vector<BoundRecord> &bounds);

/// What the last line tells, collected when nothing plays any more.
struct SummaryFacts {
    std::string exit;  ///< "end", "error", "signal" or "quit"
    int64_t beganUs = 0;
    bool hash = false;
    std::vector<BoundRecord> bounds;
    std::vector<PlayEvent> errors;
    double cpuSeconds = 0.0;
    int64_t residentKb = 0;
};
std::string summaryLine(const SummaryFacts &facts, const Programme &programme);

}  // namespace vexoplay
