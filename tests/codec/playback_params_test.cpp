#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "base/oriplayer/subtitle_font_info.h"
#include "codec/media_fixture.h"

namespace vexo {
namespace {

class PlaybackParams : public MediaTest {
protected:
    /// Numbers as they are, texts in quotes, blank between them. A pointer reads as null and as 0.
    static std::string valuesOf(const oriplayer::Param &param, std::size_t count) {
        std::string values;
        for (std::size_t i = 0; i < count; ++i) {
            const char *text = param.getCString(static_cast<int>(i));
            values += values.empty() ? "" : " ";
            values += text ? "'" + std::string(text) + "'" : std::to_string(param.getInt32(static_cast<int>(i)));
        }
        return values;
    }

    /// What one call makes the engine hear: "number: values", empty for nothing.
    std::string heard(int type, const char *value, std::size_t count) {
        EXPECT_EQ(processor.SetPlaybackParam(type, value), 0) << type;
        std::string all;
        for (const auto &call : engine.takeParameterCalls()) {
            EXPECT_EQ(call.call, "setParameter");
            EXPECT_EQ(call.index, -1);
            // One place more than expected shows as 0, so a value too many is seen as one that is not.
            all += std::to_string(call.number) + ": " + valuesOf(call.value, count);
            EXPECT_EQ(call.value.getCString(static_cast<int>(count)), nullptr);
            EXPECT_EQ(call.value.getInt32(static_cast<int>(count)), 0);
        }
        return all;
    }
};

TEST_F(PlaybackParams, EachTypeReadsItsTextInItsWay) {
    struct Row {
        int type;
        const char *value;
        const char *heard;
        std::size_t count = 1;
    };
    play();
    for (const auto &[type, value, expected, count] : std::vector<Row>{
             {14, "7", "3300: 7"},
             {14, "", "3300: 0"},
             {80, "1", "3200: 1"},
             {80, "2", ""},
             {80, "-1", ""},
             {81, "2", "3201: 2"},
             {81, "0", ""},
             {82, "12", "3202: 12"},
             {82, "13", ""},
             {151, "x", "3600: 0"},
             {510, "any text", "4100: 'any text'"},
             {510, "", ""},
             {523, "a|b", "3612: 'a|b'"},
             {523, "", ""},
             {524, "c", "3613: 'c'"},
             {552, "-5", "4105: -5"},
             {552, "", ""},
             {920, "1", ""},
             {921, "1", ""},
             {963, "30", "4102: 30"},
             {963, "", ""},
             {982, "1", ""},
             {1001, "-2", "1991: -2"},
             {13, "1", ""},
             {12, "subtitlePath=/s.srt;vdoad=ad", "3303: 1 1 '/s.srt' 'ad'", 4},
             {12, "vdoad=ad", "3303: 0 'ad'", 2},
             {12, "neither", "3303: 0"},
             {1000, "subtitlePath=/s.srt;vdoad=ad", "3303: 1 1 '/s.srt'", 3},
             {1000, "", "3303: 0"},
             {19, "subtitlePath1=/1;subtitlePath2=/2;", "3302: 2 1 '/1' 2 '/2'", 5},
             {19, "subtitlePath2:/2", "3302: 1 2 '/2'", 3},
             {18, "", "3301: 0"},
         }) {
        EXPECT_EQ(heard(type, value, count), expected) << type << " '" << value << "'";
    }
}

TEST_F(PlaybackParams, AnyTypeWithoutAPlayer_IsRefused) {
    for (const int type : {12, 14, 123, 686, 920, 13}) EXPECT_EQ(processor.SetPlaybackParam(type, "1"), -1) << type;
    EXPECT_EQ(engine.takeLog(), "");
}

TEST_F(PlaybackParams, TheFastModeIsTheProcesss_OfDeferredTextsTheFirstIsSent) {
    play();
    EXPECT_EQ(heard(123, "", 1) + heard(123, "on", 1), "");
    EXPECT_EQ(engine.takeLog(), "setProperty(123,on)");
    EXPECT_EQ(heard(686, "", 1), "");
    EXPECT_EQ(heard(686, "first", 1), "4101: 'first'");
    EXPECT_EQ(heard(686, "second", 1), "");
}

TEST_F(PlaybackParams, TheSubtitleFont_IsWholeDuringTheCall) {
    play();
    std::string seen;
    engine.onCall([&](const std::string &) {
        for (const auto &call : engine.takeParameterCalls()) {
            EXPECT_EQ(call.value.getInt32(0), 1);
            const auto *font = static_cast<const oriplayer::SubtitleFontInfo *>(call.value.getPointer(1));
            ASSERT_NE(font, nullptr);
            seen.append(font->fontName ? font->fontName : "none").append(":");
            for (const int number : {font->fontSize, font->textColor, font->backgroundColor}) {
                seen += std::to_string(number) + ",";
            }
        }
    });
    processor.SetPlaybackParam(18, "fontName=A long enough name of a font;fontSize=24;textColor=255;bgColor=1");
    processor.SetPlaybackParam(18, "fontSize=big;textColor=;else=1");
    engine.onCall(nullptr);
    EXPECT_EQ(seen, "A long enough name of a font:24,255,1,none:0,0,0,");
}

TEST(SourceText, EndsAtTheSemicolonOrTheEnd) {
    for (const auto &[key, text, value] : {std::tuple{"a", "a=1;b=2", "1"},
                                           {"b", "a=1;b=2", "2"},
                                           {"sub", "sub1=/x;sub=/y", "=/x"},  // the first place counts
                                           {"a", "b=1", ""},
                                           {"a", "a", ""},
                                           {"a", "a=;", ""}}) {
        EXPECT_EQ(CodecMediaProcess::parseSourceParamS(key, text), value) << text;
    }
    for (const auto &[text, value] : {std::pair{"a=12;", 12}, {"a=x", 0}, {"b=1", -1}}) {
        EXPECT_EQ(CodecMediaProcess::parseSourceParamI("a", text), value) << text;
    }
    EXPECT_EQ(CodecMediaProcess::parseSourceParamS(nullptr, "a=1") + CodecMediaProcess::parseSourceParamS("a", nullptr),
              "");
    EXPECT_EQ(CodecMediaProcess::parseSourceParamI(nullptr, "a=1"), -1);
}

}  // namespace
}  // namespace vexo
