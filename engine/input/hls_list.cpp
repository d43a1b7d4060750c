#include "input/hls_list.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace oriplayer {

namespace {

// Beyond any honest size, number or length; sums of so many as fit into a list do not overflow.
constexpr int64_t kMostNumber = 1'000'000'000'000'000;
constexpr double kMostSeconds = 100'000.0;

constexpr std::string_view kHead = "#EXTM3U";
constexpr std::string_view kVariant = "#EXT-X-STREAM-INF:";
constexpr std::string_view kRendition = "#EXT-X-MEDIA:";

bool takeHead(std::string_view &text, std::string_view head) {
    if (text.substr(0, head.size()) != head) return false;
    text.remove_prefix(head.size());
    return true;
}

bool begins(std::string_view text, std::string_view head) {
    return takeHead(text, head);
}

/// Takes the first line off, without its end and the blanks there.
std::string_view takeLine(std::string_view &text) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    while (!line.empty() && static_cast<unsigned char>(line.back()) <= ' ') line.remove_suffix(1);
    return line;
}

int64_t number(std::string_view text) {
    int64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return std::clamp<int64_t>(value, 0, kMostNumber);
}

double secondsIn(std::string_view text) {
    double seconds = 0.0;
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    std::from_chars(text.data(), text.data() + text.size(), seconds);
    return seconds > 0.0 ? std::min(seconds, kMostSeconds) : 0.0;
}

/// The value of NAME=value or NAME="value", without the quotes; empty if there is none.
std::string_view attribute(std::string_view list, std::string_view name) {
    while (!list.empty()) {
        const std::size_t equals = list.find('=');
        if (equals == std::string_view::npos) return {};
        std::string_view key = list.substr(0, equals);
        while (!key.empty() && (key.front() == ' ' || key.front() == ',')) key.remove_prefix(1);
        list.remove_prefix(equals + 1);
        const bool quoted = begins(list, "\"");
        if (quoted) list.remove_prefix(1);
        const std::size_t end = std::min(list.find(quoted ? '"' : ','), list.size());
        if (key == name) return list.substr(0, end);
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return {};
}

/// A variant that names sound codecs alone and no size has no pictures.
bool hasPictures(std::string_view attributes) {
    const std::string_view codecs = attribute(attributes, "CODECS");
    if (codecs.empty() || !attribute(attributes, "RESOLUTION").empty()) return true;
    for (const char *video : {"avc", "hvc", "hev", "vp0", "vp8", "vp9", "av01", "mp4v", "dvh"}) {
        if (codecs.find(video) != std::string_view::npos) return true;
    }
    return false;
}

void append(std::string &text, std::string_view line) {
    text.append(line).append("\n");
}

}  // namespace

bool isHlsList(std::string_view text) {
    return begins(text, kHead);
}

HlsMasterList::HlsMasterList(std::string_view text) {
    std::vector<Entry> entries;
    std::string pending;
    while (!text.empty()) {
        const std::string_view line = takeLine(text);
        if (begins(line, kVariant)) {
            pending = line;
        } else if (!pending.empty() && !line.empty() && line.front() != '#') {
            const std::string_view attributes = std::string_view(pending).substr(kVariant.size());
            entries.push_back(
                {pending, std::string(line), number(attribute(attributes, "BANDWIDTH")), hasPictures(attributes)});
            pending.clear();
        } else if (!line.empty() && line.front() == '#') {
            others_.emplace_back(line);
        }
    }
    keep(entries);
}

void HlsMasterList::keep(const std::vector<Entry> &entries) {
    const bool film = std::any_of(entries.begin(), entries.end(), [](const Entry &entry) { return entry.pictures; });
    std::vector<const Entry *> kept;
    for (const Entry &entry : entries) {
        const bool twice = std::any_of(kept.begin(), kept.end(),
                                       [&](const Entry *other) { return other->bitsPerSecond == entry.bitsPerSecond; });
        if (!twice && (entry.pictures || !film)) kept.push_back(&entry);
    }
    const Entry *first = kept.empty() ? nullptr : kept.front();
    std::sort(kept.begin(), kept.end(),
              [](const Entry *a, const Entry *b) { return a->bitsPerSecond < b->bitsPerSecond; });
    for (const Entry *entry : kept) {
        if (entry == first) named_ = static_cast<int>(variants_.size());
        attributes_.push_back(entry->attributes);
        variants_.push_back({entry->bitsPerSecond, entry->uri});
    }
}

std::string HlsMasterList::only(int variant) const {
    const auto index = static_cast<std::size_t>(variant);
    std::string text;
    for (const std::string &line : others_) {
        if (begins(line, kRendition)) {
            const auto group = attribute(std::string_view(line).substr(kRendition.size()), "GROUP-ID");
            const bool wanted = attributes_[index].find('"' + std::string(group) + '"') != std::string::npos;
            if (!wanted) continue;
        }
        append(text, line);
    }
    append(text, attributes_[index]);
    append(text, variants_[index].uri);
    return text;
}

HlsSegmentList::HlsSegmentList(std::string_view text) {
    Lines current;
    double seconds = 0.0;
    int64_t length = -1;
    int64_t offset = 0;
    while (!text.empty()) take(takeLine(text), current, seconds, length, offset);
}

void HlsSegmentList::take(std::string_view line, Lines &current, double &seconds, int64_t &length, int64_t &offset) {
    if (line.empty()) return;
    std::string_view value = line;
    if (takeHead(value, "#EXT-X-MEDIA-SEQUENCE:")) {
        firstSequence_ = number(value);
    } else if (begins(value, "#EXT-X-KEY:")) {
        current.key = line;
    } else if (begins(value, "#EXT-X-MAP:")) {
        current.map = line;
    } else if (begins(value, "#EXT-X-ENDLIST")) {
        ended_ = true;
    } else if (takeHead(value, "#EXTINF:")) {
        seconds = secondsIn(value);
        current.lines.emplace_back(line);
    } else if (takeHead(value, "#EXT-X-BYTERANGE:")) {
        length = number(value);
        const std::size_t at = value.find('@');
        if (at != std::string_view::npos) offset = number(value.substr(at + 1));
    } else if (line.front() == '#') {
        if (line == "#EXT-X-DISCONTINUITY") continuous_ = false;
        const bool own = !segments_.empty() || !current.lines.empty();
        (own ? current.lines : head_).emplace_back(line);
    } else {
        if (length >= 0) {
            current.lines.push_back("#EXT-X-BYTERANGE:" + std::to_string(length) + '@' + std::to_string(offset));
        }
        current.lines.emplace_back(line);
        const auto sequence = firstSequence_ + static_cast<int64_t>(segments_.size());
        segments_.push_back({sequence, nextUs_, std::string(line), length >= 0 ? offset : 0});
        nextUs_ += static_cast<int64_t>(seconds * 1e6);
        lines_.push_back(current);
        current.lines.clear();
        offset = length >= 0 ? std::min(offset + length, kMostNumber) : 0;
        length = -1;
    }
}

std::string HlsSegmentList::from(std::size_t index) const {
    std::string text;
    for (const std::string &line : head_) append(text, line);
    append(text, "#EXT-X-MEDIA-SEQUENCE:" + std::to_string(segments_[index].sequence));
    std::string key, map;
    for (; index < lines_.size(); ++index) {
        const Lines &segment = lines_[index];
        if (segment.key != key) append(text, segment.key);
        if (segment.map != map) append(text, segment.map);
        key = segment.key;
        map = segment.map;
        for (const std::string &line : segment.lines) append(text, line);
    }
    if (ended_) append(text, "#EXT-X-ENDLIST");
    return text;
}

}  // namespace oriplayer
