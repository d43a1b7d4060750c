#pragma once

#include <vector>

#include "bound_log.h"
#include "options.h"
#include "play_event.h"

namespace vexoplay {

/// Why playing has ended, if it has.
enum class Ending { kNone, kThrough, kSignal, kQuit, kFault };

/// The process's answer. `presented`: sound or pictures have been presented, be it of an item that failed later.
ExitCode exitCodeOf(Ending ending, const std::vector<BoundRecord> &bounds, const std::vector<PlayEvent> &errors,
                    bool presented);

/// "end", "error", "signal" or "quit", as the summary tells it.
const char *exitWordOf(Ending ending, ExitCode code);

/// Seconds of processor time used so far, and the most memory held at once.
struct Usage {
    double cpuSeconds = 0.0;
    int64_t residentKb = 0;
};
Usage usageOfProcess();

}  // namespace vexoplay
