#include <gmock/gmock.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdio>

#include "engine/playback/loopback_server.h"
#include "running_program.h"
#include "support/clips.h"
#include "support/temporary_folder.h"

namespace apps {
namespace {

using testing::AllOf;
using testing::HasSubstr;

const std::vector<std::string> kFive{"h264_aac.mp4", "hevc_aac.mkv", "vp9_opus.webm", "av1_opus.mkv", "mpeg2_mp2.ts"};

std::vector<std::string> with(std::vector<std::string> options, const std::vector<std::string> &clips) {
    for (const std::string &name : clips) options.push_back(support::clip(name));
    return options;
}

TEST(Play, FiveCodecsGiveThePicturesHashesAndLengthsOfTheFfmpegProgram) {
    const Outcome outcome = run(with({"--no-window", "--untimed", "--hash", "--json"}, kFive));
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    for (const Json::Value &line : outcome.lines) EXPECT_TRUE(line.isObject()) << "nothing but JSON on standard output";
    const Json::Value &summary = outcome.summary;
    EXPECT_EQ(summary["exit"], "end");
    EXPECT_TRUE(summary["errors"].empty());
    ASSERT_EQ(summary["bounds"].size(), kFive.size());
    int64_t total = 0;
    for (Json::ArrayIndex i = 0; i < kFive.size(); ++i) {
        const support::Expected expected = support::expected(kFive[i]);
        const Json::Value &bound = summary["bounds"][i];
        EXPECT_EQ(bound["md5"], expected.md5) << kFive[i];
        EXPECT_EQ(bound["pictures"], expected.pictures);
        EXPECT_NEAR(static_cast<double>(bound["duration_ms"].asInt64()), static_cast<double>(expected.durationMs), 1.0);
        EXPECT_EQ(bound["period"].asUInt(), i);
        EXPECT_EQ(bound["source"], 0);
        EXPECT_EQ(bound["url"], support::clip(kFive[i]));
        total += bound["duration_ms"].asInt64();
    }
    EXPECT_EQ(summary["duration_ms"].asInt64(), total);
    EXPECT_EQ(summary["dropped"], 0);
    ASSERT_EQ(summary["switches"].size(), 4u);
    EXPECT_TRUE(summary["switches"][3]["gap_ms"].isNumeric());
    // Those that wait behind an end are told as the next item's: only the ends have a place that is certain.
    for (const int number : {306, 1000, 1017}) EXPECT_EQ(outcome.events(number).size(), kFive.size()) << number;
    const auto ends = outcome.events(1001);
    ASSERT_EQ(ends.size(), kFive.size());
    for (std::size_t i = 0; i < ends.size(); ++i) EXPECT_EQ(ends[i]["period"].asUInt(), i);
}

TEST(Play, WhatOtherProgramsWriteIntoPipesIsPlayedWhole) {
    const support::TemporaryFolder folder;
    const std::string fifo = folder / "1";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    FILE *reads = popen(("exec cat " + support::clip("mpeg2_mp2.ts")).c_str(), "r");
    FILE *writes = popen(("exec cat " + support::clip("vp9_opus.webm") + " >" + fifo).c_str(), "w");
    const Outcome outcome =
        run({"--no-window", "--untimed", "--hash", "--json", "pipe:" + std::to_string(fileno(reads)), fifo});
    EXPECT_EQ(outcome.summary["bounds"][0]["md5"], support::expected("mpeg2_mp2.ts").md5) << outcome.err;
    EXPECT_EQ(outcome.summary["bounds"][1]["md5"], support::expected("vp9_opus.webm").md5) << outcome.err;
    pclose(reads);
    pclose(writes);
}

TEST(Play, SubtitlesStandInTheItemTheyAreGivenFor) {
    const support::TemporaryFolder folder;
    const std::string path = folder.write("a.srt", "1\n00:00:00,200 --> 00:00:00,800\ntext\n");
    const std::string plain = support::expected("h264_aac.mp4").md5;
    const auto played = [](std::vector<std::string> options) {
        options.insert(options.end(), {"--no-window", "--untimed", "--hash", "--json"});
        return run(with(options, {"h264_aac.mp4", "h264_aac.mp4"}));
    };
    const Outcome first = played({"--subtitles", path});
    EXPECT_NE(first.summary["bounds"][0]["md5"], plain);
    EXPECT_EQ(first.summary["bounds"][1]["md5"], plain);
    const Outcome later =
        played({"--subtitles", folder.write("b.txt", "none"), "--subtitles", path, "--subtitle-delay", "60"});
    EXPECT_EQ(later.summary["bounds"][0]["md5"], plain);
    EXPECT_EQ(later.summary["bounds"][1]["md5"], plain);
    EXPECT_THAT(later.err, AllOf(HasSubstr("the subtitles of item 1"), testing::Not(HasSubstr("of item 2"))));
}

TEST(Play, InItsTimeEveryPictureIsShownOrCounted) {
    const Outcome outcome = run(with({"--no-window", "--json"}, {"h264_aac.mp4", "audio_only.ogg", "video_only.mp4"}));
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "") << "silent where standard error is no terminal";
    EXPECT_EQ(outcome.summary["pictures"].asInt() + outcome.summary["dropped"].asInt(),
              support::expected("h264_aac.mp4").pictures + support::expected("video_only.mp4").pictures);
    EXPECT_EQ(outcome.summary["bounds"][1]["pictures"], 0);
    EXPECT_TRUE(outcome.summary["bounds"][1]["size"].isNull());
    EXPECT_GT(outcome.summary["first_picture_ms"].asDouble(), 0.0);
}

TEST(Play, StartAndEndCutTheProgramme) {
    const int64_t first = support::expected("h264_aac.mp4").durationMs;
    const std::string end = std::to_string(static_cast<double>(first + 200) / 1000.0);
    const Outcome across = run(with({"--no-window", "--untimed", "--json", "--start", "0.4", "--end", end},
                                    {"h264_aac.mp4", "hevc_aac.mkv", "vp9_opus.webm"}));
    ASSERT_EQ(across.code, 0) << across.err;
    ASSERT_EQ(across.summary["bounds"].size(), 2u);
    EXPECT_EQ(across.summary["bounds"][0]["pictures"], 15) << "25/s: pictures 10 to 24";
    EXPECT_EQ(across.summary["bounds"][1]["pictures"], 5) << "200 ms at 25/s";
    const std::string inside = std::to_string(static_cast<double>(first + 600) / 1000.0);
    const Outcome second =
        run(with({"--no-window", "--untimed", "--json", "--start", inside}, {"h264_aac.mp4", "hevc_aac.mkv"}));
    ASSERT_EQ(second.summary["bounds"].size(), 1u) << "the item before the start is not opened";
    EXPECT_EQ(second.summary["bounds"][0]["period"], 1);
    EXPECT_EQ(second.summary["bounds"][0]["pictures"], 10);
}

TEST(Play, TheWholeListIsRepeatedUntilASignalEndsIt) {
    RunningProgram program(
        with({"--no-window", "--untimed", "--hash", "--json", "--loop"}, {"video_only.mp4", "odd_size.mkv"}));
    ASSERT_TRUE(program.waitUntil([&] {
        std::size_t ends = 0;
        for (std::size_t at = 0; (at = program.out().find("\"event\":1001", at)) != std::string::npos; ++at) ++ends;
        return ends >= 5;
    }));
    program.signal(SIGINT);
    const Outcome outcome = program.finish();
    ASSERT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.code, 4);
    EXPECT_EQ(outcome.summary["exit"], "signal");
    ASSERT_GE(outcome.summary["bounds"].size(), 5u);
    for (Json::ArrayIndex i = 0; i < 5; ++i) {
        const std::string name = i % 2 == 0 ? "video_only.mp4" : "odd_size.mkv";
        EXPECT_EQ(outcome.summary["bounds"][i]["md5"], support::expected(name).md5) << i;
    }
}

TEST(Play, RawFilesHoldEveryPicture_OneFileABound) {
    const support::TemporaryFolder folder;
    const Outcome outcome =
        run(with({"--no-window", "--untimed", "--raw", folder / "out"}, {"video_only.mp4", "odd_size.mkv"}));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const auto pictures = [&](const std::string &name, std::size_t width, std::size_t height) {
        const std::string content = folder.read(name);
        const std::size_t head = content.find('\n') + 1;
        EXPECT_THAT(content,
                    testing::StartsWith("YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height)));
        const std::size_t bytes = width * height + 2 * ((width + 1) / 2) * ((height + 1) / 2);
        const std::size_t each = std::string("FRAME\n").size() + bytes;
        EXPECT_EQ((content.size() - head) % each, 0u) << "whole pictures";
        return static_cast<int>((content.size() - head) / each);
    };
    EXPECT_EQ(pictures("out.0.y4m", 320, 180), support::expected("video_only.mp4").pictures);
    EXPECT_EQ(pictures("out.1.y4m", 161, 121), support::expected("odd_size.mkv").pictures);
    const Outcome nowhere = run(with({"--no-window", "--untimed", "--raw", "/no/such/out"}, {"video_only.mp4"}));
    EXPECT_EQ(nowhere.code, 5);
    EXPECT_THAT(nowhere.err, HasSubstr("/no/such/out.0.y4m"));
}

TEST(Play, ProbingTellsStreamsAndLengthsAndWhatCannotBeOpened) {
    const Outcome text = run(with({"--probe"}, {"two_languages.mkv"}));
    EXPECT_EQ(text.code, 0) << text.err;
    for (const char *part : {"period 0 source 0", "1.0", "h264 320x180 25/s", "aac", "(eng)", "(deu)"}) {
        EXPECT_THAT(text.out, HasSubstr(part));
    }
    const Outcome json = run({"--probe", "--json", support::clip("vp9_opus.webm"), "/no/such.mp4"});
    EXPECT_EQ(json.code, 3);
    ASSERT_EQ(json.lines.size(), 2u);
    EXPECT_EQ(json.lines[0]["streams"][0]["codec"], "vp9");
    EXPECT_EQ(json.lines[0]["duration_ms"].asInt64(), support::expected("vp9_opus.webm").durationMs);
    EXPECT_THAT(json.lines[1]["error"].asString(), HasSubstr("No such file"));
    EXPECT_EQ(run({"--probe", "/no/such.mp4"}).code, 2);
}

TEST(Play, ListsArePlayedAndWrongOnesRefused) {
    const support::TemporaryFolder folder;
    const std::string list = folder.write("a.m3u", "#EXTM3U\n#EXTINF:1,One\n" + support::clip("video_only.mp4") + "\n");
    const Outcome outcome = run({"--no-window", "--untimed", "--json", "--playlist", list});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.summary["pictures"], support::expected("video_only.mp4").pictures);
    EXPECT_EQ(run({"--playlist", folder.write("empty.m3u", "#EXTM3U\n\n")}).code, 2);
    EXPECT_EQ(run({"--playlist", "/no/such/list"}).code, 2);
    EXPECT_EQ(run({}).code, 1);
    EXPECT_EQ(run({"--nonsense", "a"}).code, 1);
}

TEST(Play, RequestsCarryHeadersAndUserAgent) {
    test::Film film(test::clipBytes("vp9_opus.webm"));
    test::LoopbackServer server;
    server.on("/film", [&film](const test::Connection &connection) {
        const bool right = connection.header("X-Key") == "a: b" && connection.header("User-Agent") == "tester/1";
        right ? film(connection) : test::answer({}, "403 Forbidden")(connection);
    });
    for (const int items : {1, 2}) {  // asked for its length while it plays, and ahead of it
        std::vector<std::string> arguments{"--no-window", "--untimed",    "--json",  "--header",
                                           "X-Key: a: b", "--user-agent", "tester/1"};
        arguments.insert(arguments.end(), static_cast<std::size_t>(items), server.url("/film"));
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.summary["pictures"], items * support::expected("vp9_opus.webm").pictures);
        EXPECT_EQ(outcome.summary["duration_ms"].asInt64(), items * support::expected("vp9_opus.webm").durationMs);
        EXPECT_EQ(outcome.summary["bounds"][0]["codec"], "vp9");
    }
    const Outcome refused = run({"--no-window", "--untimed", server.url("/film")});
    EXPECT_EQ(refused.code, 2);
    EXPECT_THAT(refused.err, HasSubstr("403"));
}

}  // namespace
}  // namespace apps
