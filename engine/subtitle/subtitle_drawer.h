#pragma once

#include <cstdint>
#include <string>

#include "ffmpeg.h"

namespace oriplayer {

/// How text shall look. Empty and 0: as the file says, else the renderer's choice.
struct SubtitleLook {
    std::string fontName;     ///< of a family; with a '/' in it a font file
    int fontSize = 0;         ///< rows in a picture of 720 rows
    int textColor = 0;        ///< 0xRRGGBB; the highest byte is the transparency, 0 for none
    int backgroundColor = 0;  ///< of a box behind the text, the same
    bool operator==(const SubtitleLook &) const = default;
};

struct SubtitleFile {
    std::string path;
    bool atTop = false;
    bool operator==(const SubtitleFile &) const = default;
};

/// What of a picture the drawing is prepared for.
struct PictureShape {
    int width = 0;
    int height = 0;
    int aspectNum = 1;  ///< of a pixel
    int aspectDen = 1;
    bool fullRange = false;
    bool operator==(const PictureShape &) const = default;
};

/// The texts of one file, ready to be drawn into pictures of one shape.
/// Threads: one at a time.
class SubtitleDrawer {
public:
    virtual ~SubtitleDrawer() = default;
    /// Something of the file is to be seen then.
    virtual bool visibleAt(int64_t positionMs) const = 0;
    /// Draws what is visible at that moment into a copy of `picture`, or into the picture itself if nobody else holds
    /// it. Null with `error` set if that fails.
    virtual FramePtr draw(FramePtr picture, int64_t positionMs, MediaError &error) = 0;
};

/// The one function of the module: reads the file, and the fonts that its first text needs. Null with `error` set if
/// that fails. Throws nothing; the caller deletes the drawer.
using OpenSubtitles = SubtitleDrawer *(*)(const SubtitleFile &file, const SubtitleLook &look, const PictureShape &shape,
                                          MediaError &error);
/// Its name, with the number of this interface.
constexpr const char *kOpenSubtitlesName = "ori_open_subtitles_1";

}  // namespace oriplayer
