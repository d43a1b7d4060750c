#pragma once

#include <string>

#include "picture_slot.h"

namespace vexoplay {

struct StillResult {
    std::string path;
    std::string error;  ///< empty if the file is written
};

/// Writes a picture as PNG with square pixels, under the first name of "vexoplay-0001.png", "vexoplay-0002.png" ... in
/// `folder` that is not taken; an existing file is never overwritten.
StillResult saveStill(const StagedPicture &picture, const std::string &folder);

}  // namespace vexoplay
