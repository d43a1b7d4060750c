#pragma once

#include <string>
#include <vector>

#include "options.h"
#include "programme.h"

namespace vexoplay {

struct ProbeReport {
    std::vector<std::string> lines;   ///< for standard output
    std::vector<std::string> errors;  ///< one for each item that gave no answer
    ExitCode code = ExitCode::kPlayed;
};

/// What --probe prints: for people, or with `json` one object a line and item.
ProbeReport makeProbeReport(const Programme &programme, bool json);

}  // namespace vexoplay
