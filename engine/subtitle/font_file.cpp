#include "subtitle/font_file.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <ft2build.h>
#include FT_FREETYPE_H

namespace oriplayer {
namespace {

namespace fs = std::filesystem;

// Empty if it is no font.
std::string familyOf(const std::string &path) {
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0) return {};
    FT_Face face = nullptr;
    std::string family;
    if (FT_New_Face(library, path.c_str(), 0, &face) == 0 && face->family_name) family = face->family_name;
    FT_Done_FreeType(library);  // and its faces
    return family;
}

}  // namespace

MediaError FontFile::open(const std::string &path) {
    family_ = familyOf(path);
    if (family_.empty()) return {AVERROR_INVALIDDATA, "\"" + path + "\" is no font"};
    std::error_code failure;
    std::string folder = (fs::temp_directory_path(failure) / "orifontXXXXXX").string();
    if (failure || !mkdtemp(folder.data())) return {AVERROR(errno), "no folder for the font"};
    folder_ = folder;
    const fs::path source = fs::absolute(path, failure);
    fs::create_symlink(source, fs::path(folder_) / source.filename(), failure);
    if (failure) return {AVERROR(failure.value()), "no link to the font: " + failure.message()};
    return {};
}

FontFile::~FontFile() {
    std::error_code ignored;
    if (!folder_.empty()) fs::remove_all(folder_, ignored);
}

}  // namespace oriplayer
