#pragma once

#include <string>

namespace oriplayer {

/// The length in seconds of a local regular file, 0.0 if it cannot be told; back within about 2 s.
/// The lists only declare it, so that they need no demuxer: whoever links them defines it.
/// Thread: any.
double probeLocalDuration(const std::string &path);

}  // namespace oriplayer
