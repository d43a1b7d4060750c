#pragma once

#include <string>

#include "ffmpeg.h"

namespace oriplayer {

/// A font file for the renderer, which takes folders of fonts: a folder of its own with a link to that file, gone with
/// the object. The renderer reads it when it is made.
class FontFile {
public:
    FontFile() = default;
    ~FontFile();
    FontFile(const FontFile &) = delete;
    FontFile &operator=(const FontFile &) = delete;

    MediaError open(const std::string &path);
    const std::string &family() const { return family_; }
    const std::string &folder() const { return folder_; }

private:
    std::string family_;
    std::string folder_;
};

}  // namespace oriplayer
