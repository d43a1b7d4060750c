#pragma once

namespace oriplayer {

/// How subtitles shall look: what the pointer of parameter 3301 points to. Valid during the call; the engine copies.
struct SubtitleFontInfo {
    const char *fontName = nullptr;  ///< null: the engine's choice, as is 0 below
    int fontSize = 0;
    int textColor = 0;
    int backgroundColor = 0;
};

}  // namespace oriplayer
