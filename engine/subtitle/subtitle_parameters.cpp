#include "subtitle/subtitle_parameters.h"

#include "base/oriplayer/subtitle_font_info.h"

namespace oriplayer {

std::optional<std::vector<SubtitleFile>> readSubtitleFiles(const Param &values) {
    constexpr int kMost = 2;
    const Param reading(values);  // begins at the first value
    const int count = reading.getInt32(-1);
    if (count < 0 || count > kMost) return std::nullopt;
    std::vector<SubtitleFile> files;
    for (int i = 0; i < count; ++i) {
        const int number = reading.getInt32(-1);
        const char *path = reading.getCString(-1);
        if (number < 1 || number > kMost || !path || !*path) return std::nullopt;
        files.push_back({path, number == 2});
    }
    return files;
}

std::optional<SubtitleLook> readSubtitleLook(const Param &values) {
    const Param reading(values);
    if (reading.getInt32(-1) == 0) return SubtitleLook();
    const auto *font = static_cast<const SubtitleFontInfo *>(reading.getPointer(-1));
    if (!font) return std::nullopt;
    return SubtitleLook{font->fontName ? font->fontName : "", font->fontSize, font->textColor, font->backgroundColor};
}

}  // namespace oriplayer
