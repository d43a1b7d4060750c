#pragma once

#include <string>
#include <vector>

namespace vexo {
class MixedCodecsPlayer;
}

namespace vexoplay {

/// Which subtitles the items have, and how they look.
struct SubtitleChoice {
    std::vector<std::string> files;  ///< one an item, in their order; empty: none
    std::string font;                ///< name or path; empty: the engine's choice
    int delayMs = 0;
};

/// Gives an item's subtitles to the engine player that plays it. Thread: any.
void sendSubtitles(const SubtitleChoice &choice, int item, bool visible, vexo::MixedCodecsPlayer &player);

}  // namespace vexoplay
