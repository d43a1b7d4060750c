#include "project/include_arrows.h"

#include <fstream>
#include <map>
#include <regex>

namespace fs = std::filesystem;

namespace {

using Rooms = std::set<std::string>;

// Beside itself, base and interface, a room of src may include:
const std::map<std::string, Rooms> kArrows{
    {"interface", {}},
    {"base", {}},
    {"looper", {}},
    {"render", {}},
    {"timeline", {"looper", "render"}},
    {"codec", {"timeline"}},
    {"mixed", {"timeline", "codec"}},
    {"player", {"mixed", "render"}},
};

const std::regex kInclude(R"(^\s*#\s*include\s*[<"]([^>"]+)[>"])");
const std::regex kEngineOnly(R"(^(libav|libsw|SDL|soundtouch/).*)");

std::vector<std::string> includesOf(const fs::path &file) {
    std::vector<std::string> found;
    std::ifstream in(file);
    std::smatch match;
    for (std::string line; std::getline(in, line);)
        if (std::regex_search(line, match, kInclude)) found.push_back(match[1]);
    return found;
}

std::string firstPart(const fs::path &path) {
    return path.begin()->string();
}

/// Why `included`, a path below src/, may not stand in `file`; empty if it may.
std::string refusal(const fs::path &file, const std::string &included, const std::set<std::string> &installed) {
    const std::string product = firstPart(file);
    if (product == "src") {
        const std::string from = std::next(file.begin())->string();
        const std::string to = firstPart(included);
        if (to == from || to == "base" || to == "interface") return "";
        const auto arrows = kArrows.find(from);
        if (arrows == kArrows.end()) return "the room " + from + " has no arrows yet";
        return arrows->second.count(to) ? "" : "no arrow from " + from + " to " + to;
    }
    if (product == "engine") {
        const bool seen = firstPart(included) == "base" || included == "interface/export.h";
        return seen ? "" : "the engine sees base and interface/export.h alone";
    }
    if (product == "apps" || product == "examples")
        return installed.count(included) ? "" : "applications see installed headers alone";
    return "";
}

void checkFile(const fs::path &root, const fs::path &file, const std::set<std::string> &installed,
               std::vector<std::string> &found) {
    const fs::path relative = fs::relative(file, root);
    const std::string product = firstPart(relative);
    for (const std::string &included : includesOf(file)) {
        std::string reason;
        if (fs::exists(root / "src" / included))
            reason = refusal(relative, included, installed);
        else if (product != "engine" && fs::exists(root / "engine" / included))
            reason = "only the engine sees itself";
        else if (product == "src" && std::regex_match(included, kEngineOnly))
            reason = "belongs to the engine";
        if (!reason.empty()) found.push_back(relative.string() + ": " + included + ", " + reason);
    }
}

}  // namespace

std::vector<std::string> includesAgainstTheArrows(const fs::path &root, const std::set<std::string> &installed) {
    std::vector<std::string> found;
    for (const char *product : {"src", "engine", "apps", "examples"}) {
        if (!fs::exists(root / product)) continue;
        for (const auto &entry : fs::recursive_directory_iterator(root / product)) {
            const fs::path extension = entry.path().extension();
            if (extension == ".h" || extension == ".cpp") checkFile(root, entry.path(), installed, found);
        }
    }
    return found;
}
