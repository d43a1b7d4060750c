#pragma once

#include <map>
#include <string>

#include "interface/any.h"

namespace VexoPlayerNS {

/// Options of players and sources, and the data of events and pictures. A value counts only if it holds exactly the
/// type that the key asks for. For a text that is std::string: a string literal is a `const char *` and does not count,
/// so write {kAudioDeviceId, std::string("...")}.
using VexoParams = std::map<std::string, nonstd::any>;

}  // namespace VexoPlayerNS
