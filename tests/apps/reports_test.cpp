#include <gmock/gmock.h>
#include <json/reader.h>

#include <sstream>

#include "real_files.h"
#include "running_program.h"
#include "support/temporary_folder.h"

namespace apps {
namespace {

using testing::AllOf;
using testing::HasSubstr;

Json::Value parsed(const std::string &text) {
    Json::Value value;
    std::istringstream(text) >> value;
    return value;
}

TEST(Reports, TellOfBothItemsAndOfTheBufferBetweenThem) {
    const support::TemporaryFolder folder;
    const Outcome outcome = run({"--no-window", "--report", folder / "r.json", "--plot", folder / "p.svg", "--reports",
                                 folder / "all.jsonl", kHevc.path(), kHevc.path()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "") << "the record was not asked for on standard output";

    const Json::Value report = parsed(folder.read("r.json"));
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
    EXPECT_THAT(folder.read("p.svg"), AllOf(HasSubstr("<polyline"), HasSubstr("</svg>")));

    std::istringstream lines(folder.read("all.jsonl"));
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

TEST(Reports, AFileThatCannotBeWrittenIsTold) {
    for (const char *option : {"--report", "--plot", "--reports"}) {
        const Outcome outcome = run({"--no-window", "--untimed", option, "/no/such/file", kHevc.path()});
        EXPECT_EQ(outcome.code, 5) << option;
        EXPECT_THAT(outcome.err, HasSubstr("cannot write \"/no/such/file")) << option;
    }
}

}  // namespace
}  // namespace apps
