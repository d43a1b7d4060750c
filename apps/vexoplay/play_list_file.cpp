#include "play_list_file.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

namespace vexoplay {
namespace {

// Lists are texts of a few hundred bytes an item; this is far above 100,000 items and keeps a film out of memory.
constexpr std::size_t kMaxListBytes = 64u << 20;

std::string trimmed(std::string_view line) {
    const std::size_t begin = line.find_first_not_of(" \t\r");
    if (begin == std::string_view::npos) return {};
    return std::string(line.substr(begin, line.find_last_not_of(" \t\r") + 1 - begin));
}

std::string resolved(const std::string &entry, const std::string &folder) {
    if (isUrl(entry) || folder.empty() || entry.front() == '/') return entry;
    return (std::filesystem::path(folder) / entry).string();
}

// "#EXTINF:12.5 key="a, b",Title": the title begins behind the first comma outside of quotes.
void readExtInf(const std::string &line, ListedItem &next) {
    const std::size_t seconds = std::min(line.find_first_not_of(' ', std::strlen("#EXTINF:")), line.size());
    double value = 0.0;
    std::from_chars(line.data() + seconds, line.data() + line.size(), value);
    if (value > 0.0 && value < 1e9) next.declaredMs = static_cast<int64_t>(value * 1000.0 + 0.5);
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"') quoted = !quoted;
        if (line[i] != ',' || quoted) continue;
        next.title = trimmed(std::string_view(line).substr(i + 1));
        return;
    }
}

std::string schemeOf(const std::string &text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos || colon < 2) return {};
    std::string scheme = text.substr(0, colon);
    const auto fits = [](unsigned char c) { return std::isalnum(c) || c == '+' || c == '-' || c == '.'; };
    if (!std::isalpha(static_cast<unsigned char>(scheme[0])) || !std::all_of(scheme.begin(), scheme.end(), fits)) {
        return {};
    }
    std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return scheme;
}

}  // namespace

bool isUrl(const std::string &text) {
    const std::string scheme = schemeOf(text);
    // "part2:final.mp4" may be a file: only the well-known short forms do without "//".
    return !scheme.empty() &&
           (text.compare(scheme.size(), 3, "://") == 0 || scheme == "file" || scheme == "data" || scheme == "pipe");
}

bool isNetworkUrl(const std::string &text) {
    const std::string scheme = schemeOf(text);
    return isUrl(text) && scheme != "file" && scheme != "data" && scheme != "pipe";
}

bool isPipe(const std::string &text) {
    std::error_code noAnswer;
    const auto type = std::filesystem::status(text, noAnswer).type();
    if (type == std::filesystem::file_type::not_found) return text == "-" || schemeOf(text) == "pipe";
    return type == std::filesystem::file_type::fifo || type == std::filesystem::file_type::character;
}

PlayListText parsePlayList(const std::string &text, const std::string &folder) {
    PlayListText result;
    if (text.find('\0') != std::string::npos) {
        result.error = "not a text";
        return result;
    }
    std::istringstream lines(text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? text.substr(3) : text);
    ListedItem next;
    for (std::string raw; std::getline(lines, raw);) {
        const std::string line = trimmed(raw);
        if (line.empty()) continue;
        if (line.rfind("#EXT-X-", 0) == 0) {
            result.items.clear();
            result.error = "an HLS list is one item: give it as an argument, not as --playlist";
            return result;
        }
        if (line.rfind("#EXTINF:", 0) == 0) readExtInf(line, next);
        if (line.front() == '#') continue;
        next.url = resolved(line, folder);
        result.items.push_back(std::move(next));
        next = {};
    }
    return result;
}

PlayListText readPlayList(const std::string &path) {
    PlayListText result;
    std::error_code noAnswer;
    if (std::filesystem::is_directory(path, noAnswer)) {
        result.error = std::strerror(EISDIR);
        return result;
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        result.error = std::strerror(errno != 0 ? errno : EIO);
        return result;
    }
    std::string text;
    for (char chunk[16384]; text.size() <= kMaxListBytes && (file.read(chunk, sizeof chunk), file.gcount() > 0);) {
        text.append(chunk, static_cast<std::size_t>(file.gcount()));
    }
    if (text.size() > kMaxListBytes) {
        result.error = "too long for a play list";
        return result;
    }
    return parsePlayList(text, std::filesystem::path(path).parent_path().string());
}

}  // namespace vexoplay
