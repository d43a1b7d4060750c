#include <gmock/gmock.h>
#include <json/reader.h>
#include <json/value.h>

#include <sstream>
#include <tuple>

#include "json_lines.h"
#include "options.h"
#include "play_list_file.h"
#include "status_line.h"
#include "terminal_keys.h"

namespace vexoplay {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

ParsedOptions parse(std::vector<const char *> arguments) {
    arguments.insert(arguments.begin(), "vexoplay");
    return parseOptions(static_cast<int>(arguments.size()), arguments.data());
}

TEST(Options, TimesAreSecondsOrClockReadings) {
    const std::vector<std::pair<const char *, int64_t>> times{{"0", 0},
                                                              {"90", 90'000},
                                                              {"90.5", 90'500},
                                                              {"1:30", 90'000},
                                                              {"1:02:03.25", 3'723'250},
                                                              {"100:00", 6'000'000},
                                                              {".5", 500}};
    for (const auto &[text, expected] : times) EXPECT_EQ(parseTime(text), expected) << text;
    for (const char *wrong :
         {"", ".", "-1", "1:60", "1:-1", "1:2:3:4", "1.5:00", "1e3", "5s", "1..2", "9999999999999"}) {
        EXPECT_FALSE(parseTime(wrong)) << wrong;
    }
}

TEST(Options, HeadersAreSplitAndCannotSmuggleInLines) {
    using Header = std::pair<std::string, std::string>;
    EXPECT_EQ(parseHeader("Cookie:  a=b: c \t"), Header("Cookie", "a=b: c"));
    EXPECT_EQ(parseHeader("X-Empty:"), Header("X-Empty", ""));
    for (const char *bad : {"", ":", "no colon", ": value", "A: b\r\nC: d", "A B: c"}) EXPECT_FALSE(parseHeader(bad));
}

TEST(Options, WhatIsHeardAndPreparedArrives) {
    const ParsedOptions parsed = parse(
        {"--speed", "1.5", "--volume", "50", "--audio-track", "deu", "--prefetch=0", "--decoder-threads=1", "one.mp4"});
    ASSERT_TRUE(parsed.options) << parsed.text;
    EXPECT_EQ(parsed.options->speed, 1.5);
    EXPECT_EQ(parsed.options->volume, 0.5);
    EXPECT_EQ(parsed.options->audioTrack, "deu");
    EXPECT_EQ(parsed.options->prefetch, 0);
    EXPECT_EQ(parsed.options->decoderThreads, 1);
}

TEST(Options, WhatMakesNoSense_IsAUsageErrorWithItsReason) {
    const std::vector<std::pair<std::vector<const char *>, const char *>> cases{
        {{}, "nothing to play"},
        {{"--speed", "5", "a"}, "--speed"},
        {{"--volume", "101", "a"}, "--volume"},
        {{"--prefetch", "9", "a"}, "--prefetch"},
        {{"--start", "soon", "a"}, "not a time"},
        {{"--start", "10", "--end", "5", "a"}, "--end"},
        {{"--header", "nonsense", "a"}, "nonsense"},
        {{"--no-audio", "--no-video", "a"}, "nothing to play"},
        {{"--untimed", "--no-video", "a"}, "--untimed"},
        {{"--ca-file", "/no/such.pem", "a"}, "/no/such.pem"},
        {{"--subtitles", "/no/such.srt", "a"}, "/no/such.srt"},
        {{"--subtitle-font", "/no/such.ttf", "a"}, "/no/such.ttf"},
        {{"--loop", "a", "-"}, "--loop cannot play - again"},
        {{"--no-such-option", "a"}, "--no-such-option"}};
    for (const auto &[arguments, reason] : cases) {
        const ParsedOptions parsed = parse(arguments);
        EXPECT_FALSE(parsed.options);
        EXPECT_EQ(parsed.code, ExitCode::kUsage);
        EXPECT_THAT(parsed.text, HasSubstr(reason));
    }
    EXPECT_EQ(parse({"--help"}).code, ExitCode::kPlayed);
}

TEST(PlayListFile, LinesTitlesAndLengthsAreRead) {
    const PlayListText list = parsePlayList(
        "\xEF\xBB\xBF#EXTM3U\r\n#EXTINF:12.5 group=\"a, b\",First, of all\r\nsub/one.mp4\r\n\r\n"
        "#EXTINF:-1,Live\nhttps://host/live?x=1\n# a remark\n/abs/two.mkv\nfile:///three.ts\npart2: the end.mp4\n",
        "/lists");
    ASSERT_EQ(list.error, "");
    const std::vector<std::tuple<std::string, std::string, int64_t>> expected{
        {"/lists/sub/one.mp4", "First, of all", 12'500},
        {"https://host/live?x=1", "Live", 0},
        {"/abs/two.mkv", "", 0},  // a title belongs to one item
        {"file:///three.ts", "", 0},
        {"/lists/part2: the end.mp4", "", 0}};
    ASSERT_EQ(list.items.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const ListedItem &item = list.items[i];
        EXPECT_EQ(std::tuple(item.url, item.title, item.declaredMs), expected[i]);
    }
}

TEST(PlayListFile, WhatIsNoPlayList_IsRefused) {
    EXPECT_THAT(parsePlayList("#EXTM3U\n#EXT-X-VERSION:3\n#EXTINF:4,\na.ts\n", "").error, HasSubstr("HLS"));
    EXPECT_NE(parsePlayList(std::string("a\0b", 3), "").error, "");
    EXPECT_EQ(readPlayList("/no/such/list.m3u").error, "No such file or directory");
    EXPECT_EQ(readPlayList("/tmp").error, "Is a directory");
}

TEST(PlayListFile, OnlyWhatNeedsANetworkCountsAsNetwork) {
    for (const char *url : {"http://h/a", "HTTPS://h/a", "rtmp://h/a"}) EXPECT_TRUE(isNetworkUrl(url)) << url;
    for (const char *url : {"a.mp4", "/a/b:c.mp4", "file:///a", "c:\\a.mp4", "x y://z"}) {
        EXPECT_FALSE(isNetworkUrl(url)) << url;
    }
}

int columnsOf(const std::string &text) {
    int columns = 0;
    for (const char c : text) columns += (c & 0xC0) != 0x80;
    return columns;
}

TEST(StatusLine, FitsEveryWidthAndLosesTheLeastMissedFirst) {
    StatusFacts facts;
    facts.state = "playing";
    facts.positionMs = 61'000;
    facts.totalMs = 3'723'000;
    facts.item = 2;
    facts.items = 5;
    facts.codec = "hevc";
    facts.dropped = 3;
    facts.note = "gr\xC3\xBC\xC3\x9F";
    for (int columns = 0; columns <= 250; ++columns) {
        EXPECT_LE(columnsOf(formatStatus(facts, columns)), std::max(columns - 1, 0)) << columns;
    }
    EXPECT_THAT(formatStatus(facts, 120), AllOf(HasSubstr("playing 1:01 / 1:02:03"), HasSubstr("["), HasSubstr("2/5"),
                                                HasSubstr("hevc"), HasSubstr("drop 3")));
    EXPECT_THAT(formatStatus(facts, 40),
                AllOf(HasSubstr("playing 1:01 / 1:02:03"), HasSubstr("2/5"), Not(HasSubstr("drop"))));
    facts.totalMs = 0;
    EXPECT_THAT(formatStatus(facts, 200), Not(AnyOf(HasSubstr("["), HasSubstr("/ "))));
}

TEST(StatusLine, NamesOfItemsCannotCommandTheTerminal) {
    EXPECT_EQ(printable("a\x1b[2Jb\r\n\x7f"), "a?[2Jb???");
    EXPECT_EQ(printable("\xC2\x9B"
                        "31m \xC3\xA4"),
              "\?\?31m \xC3\xA4");
}

TEST(Keys, ArrowsComeInPiecesAndUnknownSequencesAreSwallowed) {
    KeyDecoder decoder;
    EXPECT_THAT(decoder.decode(" q"), ElementsAre(Key::kPause, Key::kQuit));
    EXPECT_THAT(decoder.decode("\x1b"), ElementsAre());
    EXPECT_THAT(decoder.decode("["), ElementsAre());
    EXPECT_THAT(decoder.decode("Cm"), ElementsAre(Key::kForward5, Key::kMute));
    EXPECT_THAT(decoder.decode("\x1bOA\x1b[B\x1b[D"), ElementsAre(Key::kForward60, Key::kBack60, Key::kBack5));
    EXPECT_THAT(decoder.decode("\x1b[15~\x1b[200~<"), ElementsAre(Key::kPrevious));
    EXPECT_THAT(decoder.decode("\x1bqx>"), ElementsAre(Key::kNext)) << "Alt and q is not q";
}

TEST(JsonLines, AnyBytesInAUrlStillMakeOneLineOfJson) {
    const Programme programme({{"a\"b\\c\n\xFF\xC3(\xE2\x82\xAC.mp4", {}, 0}}, Programme::Shape::kPeriodEach);
    SummaryFacts facts;
    facts.bounds.push_back({});
    facts.bounds[0].item = 0;
    const std::string line = summaryLine(facts, programme);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    Json::Value value;
    ASSERT_NO_THROW(std::istringstream(line) >> value);
    EXPECT_THAT(value["summary"]["bounds"][0]["url"].asString(), testing::StartsWith("a\"b\\c\n"));
}

}  // namespace
}  // namespace vexoplay
