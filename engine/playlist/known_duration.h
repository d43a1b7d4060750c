#pragma once

#include <optional>

namespace oriplayer {

class ISource;

/// The length in seconds of a source's first URL, 0.0 if it cannot be told; empty where getDuration() might have to
/// look into a file first, or is the application's own.
/// Thread: any; it does not wait.
std::optional<double> knownDuration(ISource &source);

}  // namespace oriplayer
