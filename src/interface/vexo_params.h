#pragma once

#include <map>
#include <string>

#include "interface/any.h"

namespace VexoPlayerNS {

/// Options of players and sources, and the data of events and pictures. A value counts only if it holds exactly the
/// type that the key asks for.
using VexoParams = std::map<std::string, nonstd::any>;

}  // namespace VexoPlayerNS
