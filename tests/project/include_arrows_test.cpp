#include "project/include_arrows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <regex>
#include <sstream>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::set<std::string> installedHeaders() {
    std::set<std::string> headers;
    std::istringstream list(VEXO_INSTALLED_HEADERS);
    for (std::string header; std::getline(list, header, ':');) headers.insert(header);
    return headers;
}

/// A tree of its own in the temporary directory, gone with the test.
class IncludeArrows : public testing::Test {
protected:
    IncludeArrows() {
        std::string pattern = (fs::temp_directory_path() / "vexo-arrows-XXXXXX").string();
        root_ = mkdtemp(pattern.data());
    }
    ~IncludeArrows() override { fs::remove_all(root_); }

    void write(const std::string &path, const std::string &text) {
        fs::create_directories((root_ / path).parent_path());
        std::ofstream(root_ / path) << text;
    }
    std::vector<std::string> found() { return includesAgainstTheArrows(root_, {"interface/any.h", "mixed/player.h"}); }

    fs::path root_;
};

TEST_F(IncludeArrows, OfThisTree_AllPointTheRightWay) {
    EXPECT_THAT(includesAgainstTheArrows(VEXO_SOURCE_DIR, installedHeaders()), IsEmpty());
}

TEST_F(IncludeArrows, AgainstTheArrow_AreNamed) {
    write("src/interface/any.h", "#pragma once\n");
    write("src/mixed/player.h", "#include \"timeline/timeline.h\"\n#include <vector>\n");
    write("src/timeline/timeline.h", "#include \"interface/any.h\"\n");
    write("engine/decode/decoder.h", "#include <libavcodec/avcodec.h>\n");
    write("apps/vexoplay/main.cpp", "#include \"interface/any.h\"\n#include <SDL.h>\n");
    EXPECT_THAT(found(), IsEmpty());

    write("src/timeline/timeline.h", "  # include \"mixed/player.h\"\n");
    EXPECT_THAT(found(), ElementsAre(HasSubstr("no arrow from timeline to mixed")));
    write("src/timeline/timeline.h", "#include <libavutil/frame.h>\n");
    EXPECT_THAT(found(), ElementsAre(HasSubstr("belongs to the engine")));
    write("src/timeline/timeline.h", "#include \"decode/decoder.h\"\n");
    EXPECT_THAT(found(), ElementsAre(HasSubstr("only the engine sees itself")));
    write("src/timeline/timeline.h", "");

    write("engine/decode/decoder.h", "#include \"interface/any.h\"\n");
    EXPECT_THAT(found(), ElementsAre(HasSubstr("the engine sees base")));
    write("engine/decode/decoder.h", "");

    write("examples/embed.cpp", "#include \"timeline/timeline.h\"\n");
    EXPECT_THAT(found(), ElementsAre(HasSubstr("installed headers alone")));
}

TEST_F(IncludeArrows, OfInstalledHeaders_StayInsideAndBringNoOtherLibrary) {
    // The report channel and the reporter hand over Json::Value itself.
    const std::set<std::string> withJson{"base/live_stream_sdk.h", "base/protocols/reporter.h"};
    const std::regex include(R"(^\s*#\s*include\s*[<"]([^>"]+)[>"])");
    const std::regex foreign(R"((libav|libsw|SDL|soundtouch|CLI/|gtest/).*)");
    const fs::path src = fs::path(VEXO_SOURCE_DIR) / "src";
    const std::set<std::string> installed = installedHeaders();
    for (const std::string &header : installed) {
        std::ifstream in(src / header);
        EXPECT_TRUE(in) << header << " is to be installed and does not exist";
        std::smatch match;
        for (std::string line; std::getline(in, line);) {
            if (!std::regex_search(line, match, include)) continue;
            const std::string included = match[1];
            EXPECT_FALSE(std::regex_match(included, foreign)) << header << " includes " << included;
            EXPECT_TRUE(included.rfind("json/", 0) != 0 || withJson.count(header))
                << header << " includes " << included;
            const bool reachable = !fs::exists(src / included) || installed.count(included);
            EXPECT_TRUE(reachable) << header << " includes " << included << ", which is not installed";
        }
    }
}

}  // namespace
