#include "ending.h"

#include <sys/resource.h>

#include <algorithm>

namespace vexoplay {
namespace {

double seconds(const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

ExitCode exitCodeOf(Ending ending, const std::vector<BoundRecord> &bounds, const std::vector<PlayEvent> &errors,
                    bool presented) {
    if (ending == Ending::kSignal) return ExitCode::kSignal;
    if (ending == Ending::kFault) return ExitCode::kInternal;
    const bool played = presented || std::any_of(bounds.begin(), bounds.end(), [](const BoundRecord &bound) {
                            return bound.pictures > 0 || (bound.prepared && !bound.failed);
                        });
    if (!errors.empty()) return played ? ExitCode::kSomeFailed : ExitCode::kNothingPlayable;
    return played || ending == Ending::kQuit ? ExitCode::kPlayed : ExitCode::kNothingPlayable;
}

const char *exitWordOf(Ending ending, ExitCode code) {
    if (code == ExitCode::kNothingPlayable || code == ExitCode::kInternal) return "error";
    if (ending == Ending::kSignal) return "signal";
    return ending == Ending::kQuit ? "quit" : "end";
}

Usage usageOfProcess() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss};
}

}  // namespace vexoplay
