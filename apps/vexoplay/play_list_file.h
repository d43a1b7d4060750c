#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vexoplay {

/// An item of a play list as written down.
struct ListedItem {
    std::string url;
    std::string title;       ///< empty if none is given
    int64_t declaredMs = 0;  ///< 0 if not declared
};

struct PlayListText {
    std::vector<ListedItem> items;
    std::string error;  ///< empty if all went well
};

/// Reads a list: a line each, or "#EXTM3U" with "#EXTINF:seconds,title" in front of an item. Empty lines and lines
/// beginning with '#' are passed over; a byte order mark and carriage returns are no part of a line. Relative paths
/// count from the list's folder.
PlayListText readPlayList(const std::string &path);

/// The same over a text; `folder` is put in front of relative paths ("" leaves them).
PlayListText parsePlayList(const std::string &text, const std::string &folder);

/// True for "scheme:..." with a scheme of two letters or more.
bool isUrl(const std::string &text);

/// True for what is reached over a network: every URL but those of the schemes file, data and pipe.
bool isNetworkUrl(const std::string &text);
/// True if it can be read only once: "-", a "pipe:" URL, a FIFO or a terminal.
bool isPipe(const std::string &text);

}  // namespace vexoplay
