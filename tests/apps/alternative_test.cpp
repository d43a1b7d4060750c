#include <gtest/gtest.h>

#include "running_program.h"
#include "support/clips.h"

namespace apps {
namespace {

using support::clip;

TEST(Alternative, KeyChangesTheSourceAndBackWithoutLosingAPicture) {
    RunningProgram program(
        {"--no-window", "--json", "--speed", "2", "--alternative", clip("numbered_better.mkv"), clip("numbered.mp4")},
        {.terminal = true});
    ASSERT_TRUE(program.waitForOut("\"height\":120")) << program.err();
    program.type("c");
    ASSERT_TRUE(program.waitForOut("\"height\":180")) << program.err();
    program.type("c");
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    ASSERT_EQ(outcome.summary["bounds"].size(), 1u);
    const Json::Value &bound = outcome.summary["bounds"][0];
    EXPECT_EQ(bound["pictures"].asInt() + bound["dropped"].asInt(), 250);  // a busy machine leaves out, and counts
    ASSERT_EQ(outcome.events(306).size(), 3u);
    EXPECT_EQ(outcome.events(306)[2]["height"], 120);
    EXPECT_EQ(outcome.events(-10001).size(), 2u);
    EXPECT_EQ(outcome.events(1000).size(), 1u);
}

}  // namespace
}  // namespace apps
