#include <gmock/gmock.h>
#include <json/reader.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "running_program.h"

namespace apps {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

class Reports : public testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::temp_directory_path() / ("vexoplay_reports_" + std::to_string(getpid()));
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string path(const std::string &name) const { return folder_ / name; }
    std::string text(const std::string &name) const {
        std::ostringstream content;
        content << std::ifstream(path(name)).rdbuf();
        return content.str();
    }
    static Json::Value parsed(const std::string &text) {
        Json::Value value;
        const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
        reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
        return value;
    }

    fs::path folder_;
};

TEST_F(Reports, TellOfBothItemsAndOfTheBufferBetweenThem) {
    const std::string clip = std::string(TEST_MEDIA) + "/sample_h265.ts";
    const Outcome outcome = run({"--no-window", "--report", path("r.json"), "--plot", path("p.svg"), "--reports",
                                 path("all.jsonl"), clip, clip});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "") << "the record was not asked for on standard output";

    const Json::Value report = parsed(text("r.json"));
    ASSERT_EQ(report["records"].size(), 2u);
    EXPECT_EQ(report["record"], report["records"][1]["text"]);
    EXPECT_THAT(report["record"].asString(), HasSubstr(";videoDecodeOutputTotal=30;"));
    EXPECT_THAT(report["impairment"].asString(),
                AllOf(HasSubstr("maxBufLevelInMs:"), HasSubstr("&bufInflectPoints:"), HasSubstr("&timeIntervFor")));
    EXPECT_EQ(report["buffer_samples_ms"].size(), 1u) << "one in five seconds";
    EXPECT_EQ(report["scores"].size(), 1u);
    EXPECT_EQ(report["switches_ms"].size(), 2u);
    EXPECT_EQ(report["stalls_ms"].size(), 0u);
    EXPECT_GE(report["levels"].size(), 4u) << "two seconds, four times a second";
    EXPECT_THAT(text("p.svg"),
                AllOf(HasSubstr("buffer level (s)"), HasSubstr("score (0 to 100)"),
                      HasSubstr("time since the start (s)"), HasSubstr("<polyline"), HasSubstr("</svg>")));

    std::istringstream lines(text("all.jsonl"));
    int summaries = 0;
    for (std::string line; std::getline(lines, line);) {
        const Json::Value value = parsed(line);
        EXPECT_EQ(value["module"], "download") << line;
        if (value["category"] != "ReportCategoryQZPLayerRtpAll") continue;
        ++summaries;
        const Json::Value &told = value["report"];
        EXPECT_EQ(std::stoi(told["picturesShown"].asString()) + std::stoi(told["picturesDropped"].asString()), 30);
    }
    EXPECT_EQ(summaries, 2);
}

TEST_F(Reports, AFileThatCannotBeWrittenIsTold) {
    for (const char *option : {"--report", "--plot", "--reports"}) {
        const Outcome outcome =
            run({"--no-window", "--untimed", option, path("none/file"), std::string(TEST_MEDIA) + "/sample_h265.ts"});
        EXPECT_EQ(outcome.code, 5) << option;
        EXPECT_THAT(outcome.err, HasSubstr("cannot write \"" + path("none/file"))) << option;
    }
}

}  // namespace
}  // namespace apps
