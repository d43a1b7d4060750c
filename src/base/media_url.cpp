#include "base/media_url.h"

#include <string_view>

namespace vexo {
namespace {

constexpr std::string_view kVideoKey = "vid=";
constexpr std::string_view kTypeKey = "&streamtypecode=";
constexpr std::size_t kTagPadding = 2;  // encoded video ids end in "=="

std::string_view UpToAmpersand(std::string_view text) {
    return text.substr(0, text.find('&'));
}

std::string VideoTag(std::string_view url) {
    const std::size_t key = url.find(kVideoKey);
    if (key == std::string_view::npos) return "NOVID";
    const std::string_view behind = url.substr(key + kVideoKey.size());
    const std::size_t end = behind.find('&');
    if (end == std::string_view::npos) return std::string(behind);
    return std::string(behind.substr(0, end < kTagPadding ? 0 : end - kTagPadding));
}

}  // namespace

int ParseVideoTag(const std::string &url, std::string &out) {
    if (url.empty()) return -1;
    out = VideoTag(url);
    const std::size_t type = url.find(kTypeKey);
    if (type == std::string::npos) return 0;
    out += '-';
    out += UpToAmpersand(std::string_view(url).substr(type + kTypeKey.size()));
    return 0;
}

int ParseVideoId(const std::string &url, std::string &out) {
    const std::size_t key = url.find(kVideoKey);
    if (key == std::string::npos) return -1;
    out = UpToAmpersand(std::string_view(url).substr(key + kVideoKey.size()));
    return 0;
}

}  // namespace vexo
