#include <gmock/gmock.h>

#include <memory>

#include "engine/playback/loopback_server.h"
#include "running_program.h"
#include "support/clips.h"
#include "support/temporary_folder.h"

namespace apps {
namespace {

using testing::HasSubstr;

struct Failures : testing::Test {
    struct Case {
        std::string url;
        std::string text;  ///< FFmpeg's
    };

    support::TemporaryFolder folder;
    const std::vector<Case> cases{{folder / "missing.mp4", "No such file or directory"},
                                  {folder.write("text.mp4", "this is not a film\n"), "Invalid data"},
                                  {folder.write("empty.mp4", ""), "Invalid data"},
                                  {folder.path(), "Is a directory"},
                                  {"http://127.0.0.1:1/refused.mp4", "Connection refused"}};
    const std::string good = support::clip("video_only.mp4");
    const int goodPictures = support::expected("video_only.mp4").pictures;
};

TEST_F(Failures, AloneNothingIsPlayable_AndTheMessageNamesItemAttemptAndReason) {
    test::LoopbackServer server;
    server.on("/silent", &test::Connection::silence);
    std::vector<Case> all = cases;
    all.push_back({server.url("/silent"), "timed out"});
    std::vector<std::unique_ptr<RunningProgram>> programs;
    for (const Case &c : all) {
        programs.push_back(std::make_unique<RunningProgram>(std::vector<std::string>{"--no-window", "--json", c.url}));
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        SCOPED_TRACE(all[i].url);
        const Outcome outcome = programs[i]->finish(12s);  // the person waits 10 s for an item at most
        EXPECT_TRUE(outcome.ended);
        EXPECT_EQ(outcome.code, 2);
        for (const std::string &part : {std::string("item 1 of 1"), all[i].url, all[i].text}) {
            EXPECT_THAT(outcome.err, HasSubstr(part));
        }
        EXPECT_EQ(outcome.summary["exit"], "error");
        ASSERT_EQ(outcome.summary["errors"].size(), 1u);
        EXPECT_EQ(outcome.summary["errors"][0]["event"], 501);
        EXPECT_THAT(outcome.summary["errors"][0]["text"].asString(), HasSubstr(all[i].text));
        EXPECT_EQ(outcome.summary["bounds"].size(), 1u) << "it was entered";
    }
}

TEST_F(Failures, InTheMiddleTheRestPlaysOn_InPeriodsAndInOneMixedPeriod) {
    std::vector<std::unique_ptr<RunningProgram>> programs;
    for (const Case &c : cases) {
        for (const char *shape : {"--json", "--mixed"}) {  // --json twice is the same as once
            programs.push_back(std::make_unique<RunningProgram>(
                std::vector<std::string>{"--no-window", "--untimed", "--json", shape, good, c.url, c.url, good}));
        }
    }
    for (std::size_t i = 0; i < programs.size(); ++i) {
        SCOPED_TRACE(testing::Message() << cases[i / 2].url << ", mixed: " << i % 2);
        const Outcome outcome = programs[i]->finish();
        EXPECT_EQ(outcome.code, 3) << outcome.err;
        const Json::Value &bounds = outcome.summary["bounds"];
        ASSERT_EQ(bounds.size(), 4u);
        EXPECT_EQ(bounds[0]["pictures"], goodPictures);
        EXPECT_EQ(bounds[1]["pictures"], 0);
        EXPECT_EQ(bounds[3]["pictures"], goodPictures);
        ASSERT_EQ(outcome.summary["errors"].size(), 2u);
        EXPECT_EQ(outcome.summary["errors"][1][i % 2 == 0 ? "period" : "source"], 2);
        EXPECT_THAT(outcome.err, testing::AllOf(HasSubstr("item 2 of 4"), HasSubstr("item 3 of 4")));
    }
}

TEST_F(Failures, AListOfNothingButFailuresEndsEvenIfItIsToBeRepeated) {
    const Outcome outcome = run({"--no-window", "--loop", "--json", cases[0].url, cases[1].url});
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.summary["bounds"].size(), 2u);
}

TEST_F(Failures, AReaderThatLeavesEndsTheProgramWithAReason) {
    RunningProgram program({"--no-window", "--json", "--loop", good});
    ASSERT_TRUE(program.waitForOut("\"event\":1017"));
    program.closeOut();
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.code, 5);
    EXPECT_THAT(outcome.err, HasSubstr("cannot write to standard output: Broken pipe"));
}

}  // namespace
}  // namespace apps
