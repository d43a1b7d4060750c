#include <gmock/gmock.h>

#include <csignal>

#include "engine/playback/loopback_server.h"
#include "running_program.h"
#include "support/clips.h"
#include "support/temporary_folder.h"

namespace apps {
namespace {

const Setting kTerminal{.terminal = true};

// A film of ten seconds, twice, so that nothing ends by itself.
std::vector<std::string> film() {
    return {"--no-window", "--json", support::clip("numbered.mp4"), support::clip("numbered.mp4")};
}

bool hasKeyMode(const RunningProgram &program) {
    return (program.terminalMode().c_lflag & (ICANON | ECHO)) == 0;
}
bool hasLineMode(const RunningProgram &program) {
    return (program.terminalMode().c_lflag & (ICANON | ECHO)) == (ICANON | ECHO);
}

TEST(Terminal, KeysControlThePlayerAndTheLineTellsSo) {
    RunningProgram program(film(), kTerminal);
    ASSERT_TRUE(program.waitForErr("playing 0:0")) << program.err();
    EXPECT_TRUE(hasKeyMode(program));
    EXPECT_TRUE(program.waitForErr("1/2  h264 160x120")) << program.err();
    const std::vector<std::pair<const char *, const char *>> steps{
        {"]", "x1.25"},           {"[", "x1 "},   {"9", "vol 95%"},
        {"0", "vol 100%"},        {"m", "muted"}, {" ", "paused"},
        {"\x1b[C", "paused 0:0"}, {">", "2/2"},   {" ", "playing 0:1"},
        {">", "no next item"},    {"<", "1/2"},   {"\x1b[C", "playing 0:0"}};
    for (const auto &[key, shown] : steps) {
        program.forgetErr();
        program.type(key);
        EXPECT_TRUE(program.waitForErr(shown)) << key << " " << program.err();
    }
    program.type("\x1b[A");  // 60 s on is behind the end
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.summary["exit"], "end");
    EXPECT_EQ(outcome.summary["bounds"].size(), 4u);
    EXPECT_TRUE(hasLineMode(program));
}

TEST(Terminal, ADownloadThatStandsIsToldAndGoesOn) {
    test::Film film(test::clipBytes("sound_longer.mkv"));
    film.limit = film.size() / 2;
    test::LoopbackServer server;
    server.on("/film", std::ref(film));
    RunningProgram program({"--no-window", server.url("/film")}, kTerminal);
    EXPECT_TRUE(program.waitForErr("buffering 0:00")) << program.err();
    film.limit = film.size();
    program.forgetErr();
    EXPECT_TRUE(program.waitForErr("playing 0:0")) << program.err();
    EXPECT_EQ(program.finish().code, 0) << program.err();
}

TEST(Terminal, ASkipWhilePausedStaysPausedInTheNextItem) {
    RunningProgram program(film(), kTerminal);
    ASSERT_TRUE(program.waitForOut("\"event\":1017"));
    program.type(" >");
    ASSERT_TRUE(program.waitForErr("paused 0:10 / 0:20")) << program.err();
    ASSERT_TRUE(program.waitForErr("2/2"));
    program.forgetErr();
    ASSERT_TRUE(program.waitUntil([&] { return program.err().size() > 400; }));  // some more status lines
    EXPECT_THAT(program.err(), testing::Not(testing::HasSubstr("0:11")));
    program.type(" ");
    EXPECT_TRUE(program.waitForErr("playing 0:11"));
}

TEST(Terminal, EveryWayOutGivesTheTerminalBack) {
    const std::vector<std::pair<int, int>> ways{{SIGINT, 4}, {SIGTERM, 4}, {SIGHUP, 4}, {SIGABRT, -SIGABRT}};
    for (const auto &[number, code] : ways) {
        RunningProgram program(film(), kTerminal);
        ASSERT_TRUE(program.waitForErr("playing"));
        ASSERT_TRUE(hasKeyMode(program));
        if (number == SIGINT) {
            program.type("\x03");
        } else {
            program.signal(number);
        }
        const Outcome outcome = program.finish();
        EXPECT_TRUE(outcome.ended) << number;
        EXPECT_EQ(outcome.code, code);
        EXPECT_TRUE(hasLineMode(program)) << number;
    }
}

TEST(Terminal, StoppingGivesTheTerminalBackUntilItGoesOn) {
    RunningProgram program(film(), kTerminal);
    ASSERT_TRUE(program.waitForErr("playing"));
    program.type("\x1a");
    ASSERT_TRUE(program.waitUntilStopped());
    EXPECT_TRUE(hasLineMode(program));
    program.forgetErr();
    program.signal(SIGCONT);
    EXPECT_TRUE(program.waitForErr("playing"));
    EXPECT_TRUE(hasKeyMode(program));
    program.type("q");
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.summary["exit"], "quit");
}

}  // namespace
}  // namespace apps
