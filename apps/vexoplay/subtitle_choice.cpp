#include "subtitle_choice.h"

#include "base/oriplayer/param.h"
#include "base/oriplayer/subtitle_font_info.h"
#include "mixed/mixed_codecs_player.h"

namespace vexoplay {
namespace {

constexpr int kParameterLook = 3301;
constexpr int kParameterFile = 3303;
constexpr int kParameterDelay = 3304;

}  // namespace

void sendSubtitles(const SubtitleChoice &choice, int item, bool visible, vexo::MixedCodecsPlayer &player) {
    if (item < 0 || item >= static_cast<int>(choice.files.size())) return;
    const std::string &path = choice.files[static_cast<std::size_t>(item)];
    if (path.empty()) return;
    oriplayer::SubtitleFontInfo font;
    font.fontName = choice.font.c_str();
    oriplayer::Param look;
    look.putInt32(choice.font.empty() ? 0 : 1);
    look.putPointer(&font);
    player.setParameter(kParameterLook, look, -1);
    oriplayer::Param delay;
    delay.putInt32(choice.delayMs);
    player.setParameter(kParameterDelay, delay, -1);
    oriplayer::Param file;
    file.putInt32(visible ? 1 : 0);
    file.putInt32(1);
    file.putCString(path.c_str(), false);
    player.setParameter(kParameterFile, file, -1);
}

}  // namespace vexoplay
