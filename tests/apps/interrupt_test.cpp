#include <gmock/gmock.h>

#include "real_files.h"
#include "running_program.h"

namespace apps {
namespace {

using testing::HasSubstr;

struct Played {
    int timeline;
    RealFile file;
};

const RealFile kMissing{"nothing.mp4", 0, ""};

void expectBounds(const Outcome &outcome, const std::vector<Played> &expected) {
    const Json::Value &bounds = outcome.summary["bounds"];
    ASSERT_EQ(bounds.size(), expected.size());
    for (Json::ArrayIndex i = 0; i < bounds.size(); ++i) {
        SCOPED_TRACE(i);
        const auto &[timeline, file] = expected[i];
        EXPECT_EQ(bounds[i]["timeline"], timeline);
        EXPECT_EQ(bounds[i]["url"], file.path());
        // In its time a busy machine may leave pictures out, which are counted; the sum is of all or means nothing.
        const int dropped = bounds[i]["dropped"].asInt();
        EXPECT_EQ(bounds[i]["pictures"].asInt() + dropped, file.pictures);
        if (dropped == 0) {
            EXPECT_EQ(bounds[i]["md5"].asString(), file.md5);
        }
    }
}

TEST(Interrupt, TheProgrammeGoesOnAtThePictureWhereItStood) {
    const Outcome outcome =
        run({"--no-window", "--json", "--hash", "--info", "-1", "--interrupt", "2=" + kHevc.path(), kBear.path()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    expectBounds(outcome, {{0, kBear}, {1, kHevc}});
    EXPECT_EQ(outcome.summary["switches"].size(), 0u);
    EXPECT_THAT(outcome.out, HasSubstr(";videoDecodeInputTotal=82;")) << "of the item, and not of the file";
    const auto back = outcome.events(10240);
    ASSERT_EQ(back.size(), 1u);
    EXPECT_GE(back[0]["position_ms"].asInt(), 2000);
    EXPECT_LE(back[0]["position_ms"].asInt(), 2500) << "neither at the end; the event may take a while to come";
}

// Untimed nothing is left out: the sums say that no picture of the programme was lost, repeated or taken for one of the
// files.
TEST(Interrupt, ThreeTimesWithSeveralFilesAndOneThatCannotBePlayed) {
    const Outcome outcome = run({"--no-window", "--json", "--hash", "--untimed", "--interrupt",
                                 "1.5=" + kMissing.path(), "--interrupt", "2=" + kFlv.path(), "--interrupt",
                                 "0.5=" + kPreroll.path() + "," + kHevc.path(), kBear.path(), kBear.path()});
    ASSERT_EQ(outcome.code, 3) << outcome.err;
    expectBounds(outcome, {{0, kBear}, {1, kPreroll}, {1, kHevc}, {1, kMissing}, {1, kFlv}, {0, kBear}});
    EXPECT_EQ(outcome.events(10240).size(), 3u) << "one for each, also for the one that failed";
    ASSERT_EQ(outcome.summary["errors"].size(), 1u);
    EXPECT_EQ(outcome.summary["errors"][0]["timeline"], 1);
    EXPECT_EQ(outcome.summary["errors"][0]["url"], kMissing.path());
    EXPECT_THAT(outcome.err, HasSubstr("interrupting file"));
    ASSERT_EQ(outcome.summary["switches"].size(), 1u) << "between the two items of the programme";
    EXPECT_EQ(outcome.summary["switches"][0]["to"], 5);
}

TEST(Interrupt, ByHandPausedSkippedAndOverSound) {
    RunningProgram program({"--no-window", "--json", "--interrupt-with", kPreroll.path(), "--interrupt",
                            "0.5=" + kHevc.path(), kVorbis.path(), kBear.path()},
                           {.terminal = true});
    ASSERT_TRUE(program.waitForOut("\"event\":10240")) << "sound alone is interrupted by its position";
    program.type("a");
    ASSERT_TRUE(program.waitForOut("\"height\":360")) << program.err();
    program.type("\x1b[C");
    EXPECT_TRUE(program.waitForErr("not during an interruption"));
    program.type("  >");
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.events(10240).size(), 2u);
    const Json::Value &bounds = outcome.summary["bounds"];
    ASSERT_EQ(bounds.size(), 4u);
    EXPECT_EQ(bounds[3]["pictures"].asInt() + bounds[3]["dropped"].asInt(), kBear.pictures);
}

}  // namespace
}  // namespace apps
