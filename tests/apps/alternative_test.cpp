#include <gtest/gtest.h>

#include "running_program.h"
#include "support/clips.h"

namespace apps {
namespace {

TEST(Alternative, KeyChangesTheSourceAndBackWithoutLosingAPicture) {
    RunningProgram::Setting setting;
    setting.terminal = true;
    RunningProgram program(
        {"--no-window", "--json", "--alternative", support::clip("numbered_better.mkv"), support::clip("numbered.mp4")},
        setting);
    ASSERT_TRUE(program.waitForErr("160x120")) << program.err();
    program.type("c");
    ASSERT_TRUE(program.waitForErr("320x180")) << program.err();
    program.forgetErr();
    program.type("c");
    ASSERT_TRUE(program.waitForErr("160x120")) << program.err();
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    ASSERT_EQ(outcome.summary["bounds"].size(), 1u);
    const Json::Value &bound = outcome.summary["bounds"][0];
    EXPECT_EQ(bound["pictures"].asInt() + bound["dropped"].asInt(), 250);  // a busy machine leaves out, and counts
    EXPECT_EQ(outcome.events(306).size(), 3u);
    EXPECT_EQ(outcome.events(-10001).size(), 2u);
    EXPECT_EQ(outcome.events(1000).size(), 1u);
}

TEST(Alternative, OneThatCannotBeOpenedIsToldAndTheItemGoesOn) {
    RunningProgram::Setting setting;
    setting.terminal = true;
    RunningProgram program({"--no-window", "--json", "--alternative", "/no/such/film.mp4",
                            support::clip("numbered.mp4"), support::clip("h264_aac.mp4")},
                           setting);
    ASSERT_TRUE(program.waitForErr("playing 0:0")) << program.err();
    program.type("c");
    ASSERT_TRUE(program.waitForErr("what played before goes on")) << program.err();
    program.type(">");
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.summary["bounds"].size(), 2u);
}

}  // namespace
}  // namespace apps
