#include <gmock/gmock.h>

#include <algorithm>

#include "running_program.h"

namespace apps {
namespace {

std::string media(const std::string &name) {
    return std::string(TEST_MEDIA) + "/" + name;
}

struct Played {
    int timeline;
    std::string file;
    int pictures;
    std::string md5;  ///< counts and sums: README of the folder
};

const Played kBear{0, "bear-vp9.webm", 82, "5c822e3d06dd53025915baef29b01cf0"};
const Played kPreroll{1, "preroll-5s.mp4", 125, "44618a481228e3108db787b4d98926cc"};
const Played kHevc{1, "sample_h265.ts", 30, "19da2d7a31f79fd9e30062b1bf986c27"};
const Played kFlv{1, "sample-with-key-frame-index.flv", 71, "dc8e571b19788304d400927850823c83"};
const Played kMissing{1, "nothing.mp4", 0, ""};

void expectBounds(const Outcome &outcome, const std::vector<Played> &expected) {
    const Json::Value &bounds = outcome.summary["bounds"];
    ASSERT_EQ(bounds.size(), expected.size());
    for (Json::ArrayIndex i = 0; i < bounds.size(); ++i) {
        EXPECT_EQ(bounds[i]["timeline"], expected[i].timeline) << i;
        EXPECT_EQ(bounds[i]["url"], media(expected[i].file)) << i;
        // In its time a busy machine may leave pictures out, which are counted; the sum is of all or means nothing.
        const int dropped = bounds[i]["dropped"].asInt();
        EXPECT_EQ(bounds[i]["pictures"].asInt() + dropped, expected[i].pictures) << i;
        if (dropped > 0) continue;
        EXPECT_EQ(bounds[i]["md5"].isNull() ? "" : bounds[i]["md5"].asString(), expected[i].md5) << i;
    }
}

TEST(Interrupt, TheProgrammeGoesOnAtThePictureWhereItStood) {
    const Outcome outcome = run({"--no-window", "--json", "--hash", "--info", "-1", "--interrupt",
                                 "2=" + media("preroll-5s.mp4"), media("bear-vp9.webm")});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    expectBounds(outcome, {kBear, kPreroll});
    EXPECT_EQ(outcome.summary["switches"].size(), 0u);
    const auto info = std::find_if(outcome.lines.begin(), outcome.lines.end(),
                                   [](const Json::Value &line) { return line.isMember("info"); });
    ASSERT_NE(info, outcome.lines.end()) << "asked for the item, though not for the file";
    EXPECT_THAT((*info)["text"].asString(), testing::HasSubstr(";videoDecodeInputTotal=82;"));
    const auto back = outcome.events(10240);
    ASSERT_EQ(back.size(), 1u);
    EXPECT_GE(back[0]["position_ms"].asInt(), 2000);
    EXPECT_LE(back[0]["position_ms"].asInt(), 2500) << "neither at the end; the event may take a while to come";
}

// Untimed nothing is left out: the sums say that no picture of the programme was lost, repeated or taken for one of the
// files.
TEST(Interrupt, ThreeTimesWithSeveralFilesAndOneThatCannotBePlayed) {
    const Outcome outcome =
        run({"--no-window", "--json", "--hash", "--untimed", "--interrupt", "1.5=" + media(kMissing.file),
             "--interrupt", "2=" + media(kFlv.file), "--interrupt",
             "0.5=" + media(kPreroll.file) + "," + media(kHevc.file), media(kBear.file), media(kBear.file)});
    ASSERT_EQ(outcome.code, 3) << outcome.err;
    expectBounds(outcome, {kBear, kPreroll, kHevc, kMissing, kFlv, kBear});
    EXPECT_EQ(outcome.events(10240).size(), 3u) << "one for each, also for the one that failed";
    ASSERT_EQ(outcome.summary["errors"].size(), 1u);
    EXPECT_EQ(outcome.summary["errors"][0]["timeline"], 1);
    EXPECT_EQ(outcome.summary["errors"][0]["url"], media(kMissing.file));
    EXPECT_THAT(outcome.err, testing::HasSubstr("interrupting file"));
    ASSERT_EQ(outcome.summary["switches"].size(), 1u) << "between the two items of the programme";
    EXPECT_EQ(outcome.summary["switches"][0]["to"], 5);
}

TEST(Interrupt, ByHandPausedSkippedAndOverSound) {
    RunningProgram::Setting terminal;
    terminal.terminal = true;
    RunningProgram program(
        {"--no-window", "--json", "--hash", "--interrupt-with", media("preroll-5s.mp4"), "--interrupt",
         "1=" + media("sample_h265.ts"), media("bear_vorbis.ogg"), media("bear-vp9.webm")},
        terminal);
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
