#include "playlist/local_file.h"

#include <sys/stat.h>

#include <algorithm>

namespace oriplayer {

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string percentDecoded(const std::string &text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escaped = text[i] == '%' && i + 2 < text.size();
        const int high = escaped ? hexDigit(text[i + 1]) : -1;
        const int low = escaped ? hexDigit(text[i + 2]) : -1;
        if (high < 0 || low < 0) {
            out += text[i];
            continue;
        }
        out += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return out;
}

LocalFile lookAt(const std::string &path) {
    struct stat info {};
    if (path.empty() || stat(path.c_str(), &info) != 0) return {};
    if (S_ISREG(info.st_mode)) return {LocalKind::kRegular, path};
    if (S_ISDIR(info.st_mode)) return {LocalKind::kDirectory, path};
    const bool pipe = S_ISFIFO(info.st_mode) || S_ISCHR(info.st_mode);
    // A relative path could look like a number.
    if (pipe) return {LocalKind::kPipe, path.front() == '/' ? path : "./" + path};
    return {LocalKind::kOther, path};
}

}  // namespace

LocalFile localFile(const std::string &url) {
    const LocalFile asPath = lookAt(url);
    if (asPath.kind == LocalKind::kNone && (url == "-" || url == "pipe:")) return {LocalKind::kPipe, "0"};
    const bool numbered = url.rfind("pipe:", 0) == 0 && url.find_first_not_of("0123456789", 5) == std::string::npos;
    if (asPath.kind == LocalKind::kNone && numbered) return {LocalKind::kPipe, url.substr(5)};
    if (asPath.kind != LocalKind::kNone || url.rfind("file:", 0) != 0) return asPath;
    std::string path = url.substr(5);
    if (path.rfind("//", 0) == 0) path.erase(0, std::min(path.size(), path.find('/', 2)));
    const LocalFile literal = lookAt(path);
    return literal.kind != LocalKind::kNone ? literal : lookAt(percentDecoded(path));
}

}  // namespace oriplayer
