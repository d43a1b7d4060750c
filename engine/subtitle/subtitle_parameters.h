#pragma once

#include <optional>
#include <vector>

#include "base/oriplayer/param.h"
#include "subtitle/subtitle_drawer.h"

namespace oriplayer {

/// From the values of 3302 and 3303: how many files, then for each its number, 1 or 2, and its path. The second one
/// stands at the top of the picture. What follows is not read. Empty for what is none.
std::optional<std::vector<SubtitleFile>> readSubtitleFiles(const Param &values);

/// From the values of 3301: 0, or 1 and a pointer to a SubtitleFontInfo, which is copied. Empty for what is none.
std::optional<SubtitleLook> readSubtitleLook(const Param &values);

}  // namespace oriplayer
