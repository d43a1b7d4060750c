#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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

// The report channel and the reporter hand over Json::Value itself.
const std::set<std::string> kWithJson{"src/base/live_stream_sdk.h", "src/base/protocols/reporter.h"};

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
    const bool seen = product == "src" && installed.count(relative.lexically_relative("src").string());
    for (const std::string &included : includesOf(file)) {
        std::string reason;
        if (fs::exists(root / "src" / included))
            reason = refusal(relative, included, installed);
        else if (product != "engine" && fs::exists(root / "engine" / included))
            reason = "only the engine sees itself";
        else if (product == "src" && std::regex_match(included, kEngineOnly))
            reason = "belongs to the engine";
        else if (seen && included.starts_with("json/") && !kWithJson.count(relative.string()))
            reason = "applications would need another library";
        if (!reason.empty()) found.push_back(relative.string() + ": " + included + ", " + reason);
    }
}

/// What every C++ file under `root` includes against the arrows of the rooms, one line each, "file: included, reason".
/// `installed` names the headers that applications see, relative to src/.
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

std::set<std::string> installedHeaders() {
    std::set<std::string> headers;
    std::istringstream list(VEXO_INSTALLED_HEADERS);
    for (std::string header; std::getline(list, header, ':');) headers.insert(header);
    return headers;
}

TEST(IncludeArrows, OfThisTree_AllPointTheRightWay) {
    EXPECT_THAT(includesAgainstTheArrows(VEXO_SOURCE_DIR, installedHeaders()), IsEmpty());
}

TEST(IncludeArrows, AgainstTheArrow_AreNamed) {
    std::string pattern = (fs::temp_directory_path() / "vexo-arrows-XXXXXX").string();
    const fs::path root = mkdtemp(pattern.data());
    const auto write = [&](const std::string &path, const std::string &text) {
        fs::create_directories((root / path).parent_path());
        std::ofstream(root / path) << text;
    };
    const auto found = [&] { return includesAgainstTheArrows(root, {"interface/any.h", "mixed/player.h"}); };
    write("src/interface/any.h", "#pragma once\n");
    write("src/mixed/player.h", "#include \"timeline/timeline.h\"\n#include <vector>\n");
    write("src/timeline/timeline.h", "#include \"interface/any.h\"\n#include <json/value.h>\n");
    write("engine/decode/decoder.h", "#include <libavcodec/avcodec.h>\n");
    write("apps/vexoplay/main.cpp", "#include \"interface/any.h\"\n#include <SDL.h>\n");
    EXPECT_THAT(found(), IsEmpty());

    struct Wrong {
        const char *file;
        const char *text;
        const char *reason;
    };
    for (const Wrong &wrong :
         {Wrong{"src/timeline/timeline.h", "  # include \"mixed/player.h\"\n", "no arrow from timeline to mixed"},
          Wrong{"src/timeline/timeline.h", "#include <libavutil/frame.h>\n", "belongs to the engine"},
          Wrong{"src/timeline/timeline.h", "#include \"decode/decoder.h\"\n", "only the engine sees itself"},
          Wrong{"src/interface/any.h", "#include <json/value.h>\n", "applications would need another library"},
          Wrong{"engine/decode/decoder.h", "#include \"interface/any.h\"\n", "the engine sees base"},
          Wrong{"examples/embed.cpp", "#include \"timeline/timeline.h\"\n", "installed headers alone"}}) {
        write(wrong.file, wrong.text);
        EXPECT_THAT(found(), ElementsAre(HasSubstr(wrong.reason)));
        write(wrong.file, "");
    }
    fs::remove_all(root);
}

}  // namespace
