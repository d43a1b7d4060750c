#include <gtest/gtest.h>

#include <string_view>

#include "base/oriplayer/subtitle_font_info.h"
#include "engine/playback/watched_player.h"
#include "support/decimal_comma.h"
#include "support/temporary_folder.h"

using oriplayer::Param;
using test::PropertyGuard;
using test::WatchedPlayer;

namespace {

struct Seen {
    int64_t ms;
    int width;
    std::size_t upper;  ///< hashes of the luma's halves, and of the chroma
    std::size_t lower;
    std::size_t chroma;
    bool operator==(const Seen &) const = default;
};

// Writes down what the halves of each picture are.
class Halves : public test::Screen {
public:
    Halves() : Screen(std::make_shared<test::Record>()) {}
    int Render(oriplayer::RenderRecord *record) override {
        const auto &picture = *record->picture;
        const int half = picture.height / 2;
        const auto us = static_cast<uint64_t>(record->words[oriplayer::kRenderPositionHigh]) << 32 |
                        record->words[oriplayer::kRenderPositionLow];
        seen.push_back({static_cast<int64_t>(us) / 1000, picture.width, rows(picture, 0, 0, half),
                        rows(picture, 0, half, picture.height),
                        rows(picture, 1, 0, half) ^ (rows(picture, 2, 0, half) << 1)});
        if (then) then(seen.back());
        return 0;
    }
    std::vector<Seen> seen;
    std::function<void(const Seen &)> then;

private:
    static std::size_t rows(const oriplayer::VideoPicture &picture, int plane, int from, int to) {
        std::size_t hash = 0;
        const auto width = static_cast<std::size_t>(plane == 0 ? picture.width : picture.width / 2);
        for (int y = from; y < to; ++y) {
            const auto &entry = picture.planes[plane];
            const auto *row =
                reinterpret_cast<const char *>(entry.data + static_cast<std::ptrdiff_t>(y) * entry.stride);
            hash = hash * 31 + std::hash<std::string_view>()({row, width});
        }
        return hash;
    }
};

class Subtitles : public testing::Test {
protected:
    using Paths = std::vector<std::pair<int, std::string>>;
    static int choose(WatchedPlayer &player, int number, const Paths &paths) {
        Param param;
        param.putInt32(static_cast<int>(paths.size()));
        for (const auto &[index, path] : paths) {
            param.putInt32(index);
            param.putCString(path.c_str(), false);
        }
        return player->setParameter(number, param, -1);
    }
    using Setup = std::function<void(WatchedPlayer &, Halves &)>;
    static std::vector<Seen> play(const std::string &clip, const Setup &setup) {
        const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
        WatchedPlayer player({clip});
        const auto screen = std::make_shared<Halves>();
        player->setVideoPipeline(screen);
        setup(player, *screen);
        EXPECT_TRUE(player.playToEnd());
        player->stop(true);
        return screen->seen;
    }
    static const std::vector<Seen> &plain() {
        static const auto pictures = play(kClip, [](WatchedPlayer &, Halves &) {});
        return pictures;
    }
    static inline const std::string kClip = TEST_MEDIA "/midroll-5s.mp4";

    // Where the halves of the clip's pictures differ from the plain ones, as "first..last" in milliseconds.
    enum class Half { kUpper, kLower };
    static std::string drawn(const std::vector<Seen> &pictures, Half half) {
        EXPECT_EQ(pictures.size(), plain().size());
        std::string text;
        int64_t last = -1;
        for (std::size_t i = 0; i < std::min(pictures.size(), plain().size()); ++i) {
            const Seen &a = pictures[i];
            const Seen &b = plain()[i];
            EXPECT_EQ(a.ms, b.ms);
            const bool differs = half == Half::kUpper ? a.upper != b.upper : a.lower != b.lower;
            if (differs && last < 0) text += std::to_string(a.ms) + "..";
            if (!differs && last >= 0) text += std::to_string(last) + " ";
            last = differs ? a.ms : -1;
        }
        return last >= 0 ? text + std::to_string(last) + " " : text;
    }

    const support::TemporaryFolder folder_;
    const std::string srt_ = folder_.write("a.srt", "1\n00:00:01,000 --> 00:00:02,000\nSehr schön\n");
};

TEST_F(Subtitles, TextStandsInItsTimeAndItsPlace_AllElseIsThePlainPicture) {
    ASSERT_EQ(plain().size(), 125U);
    const std::string ass = folder_.write("b.ass",
                                          "[Script Info]\nPlayResX: 1280\nPlayResY: 720\n[V4+ Styles]\n"
                                          "Format: Name, Fontname, Fontsize, PrimaryColour, Alignment\n"
                                          "Style: Default,DejaVu Sans,60,&H0000FFFF,8\n[Events]\n"
                                          "Format: Layer, Start, End, Style, Text\n"
                                          "Dialogue: 0,0:00:00.50,0:00:01.50,Default,above\n"
                                          "Dialogue: 0,0:00:03.00,0:00:09.00,Default,above\n");
    const std::string latin1 = folder_.write("c.srt", "1\n00:00:01,000 --> 00:00:02,000\nsch\xF6n\n");
    struct Case {
        const char *what;
        Setup setup;
        std::string upper;
        std::string lower;
    };
    const auto with = [](int number, const Paths &paths) {
        return [=](WatchedPlayer &player, Halves &) { EXPECT_EQ(choose(player, number, paths), 0); };
    };
    const Case cases[] = {
        {"below", with(3303, {{1, srt_}}), "", "1000..1960 "},
        {"an alphabet of its own", with(3303, {{1, latin1}}), "", "1000..1960 "},
        {"above, by its style", with(3303, {{1, ass}}), "520..1480 3000..4960 ", ""},
        {"two files", with(3302, {{1, srt_}, {2, srt_}}), "1000..1960 ", "1000..1960 "},
        {"the second alone", with(3302, {{2, srt_}}), "1000..1960 ", ""},
        {"later by 0.5 s",
         [&](WatchedPlayer &player, Halves &) {
             choose(player, 3303, {{1, srt_}});
             player.set(3304, 500);
         },
         "", "1520..2480 "},
        {"switched on and off while it plays",
         [&](WatchedPlayer &player, Halves &screen) {
             screen.then = [this, &player](const Seen &seen) {
                 if (seen.ms == 1200) choose(player, 3303, {{1, srt_}});
                 if (seen.ms == 1600) choose(player, 3303, {});
             };
         },
         "", "1240..1600 "},
        {"a seek back",
         [&](WatchedPlayer &player, Halves &) {
             choose(player, 3303, {{1, srt_}});
             player->seekTo(4000, 0);
             player->seekTo(0, 0);
         },
         "", "1000..1960 "},
    };
    for (const Case &one : cases) {
        const auto pictures = play(kClip, one.setup);
        EXPECT_EQ(drawn(pictures, Half::kUpper), one.upper) << one.what;
        EXPECT_EQ(drawn(pictures, Half::kLower), one.lower) << one.what;
    }
}

TEST_F(Subtitles, ALookIsCopiedAndShows) {
    const auto looked = [&](const oriplayer::SubtitleFontInfo &look) {
        return play(kClip, [&](WatchedPlayer &player, Halves &) {
            std::string name = look.fontName ? look.fontName : "";
            oriplayer::SubtitleFontInfo font = look;
            font.fontName = name.c_str();
            Param param;
            param.putInt32(1);
            param.putPointer(&font);
            EXPECT_EQ(player->setParameter(3301, param, -1), 0);
            name.assign(name.size(), 'x');
            font = {};
            choose(player, 3303, {{1, srt_}});
        });
    };
    const std::string serif = "/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf";
    const auto larger = looked({nullptr, 61, 0, 0});
    std::vector<std::vector<Seen>> shown{plain()};
    for (const auto &look : std::vector<oriplayer::SubtitleFontInfo>{
             {}, {nullptr, 60, 0, 0}, {nullptr, 0, 0xFF0000, 0}, {nullptr, 0, 0, 0x0000FF}, {serif.c_str(), 0, 0, 0}}) {
        shown.push_back(looked(look));
        EXPECT_EQ(drawn(shown.back(), Half::kLower), "1000..1960 ");
        for (std::size_t i = 0; i + 1 < shown.size(); ++i) EXPECT_NE(shown.back(), shown[i]) << i;
    }
    const support::DecimalComma comma;
    EXPECT_TRUE(!comma.set || looked({nullptr, 61, 0, 0}) == larger) << "a size with a fraction";
}

TEST_F(Subtitles, WhatCannotBeReadIsTold_AndPlayingGoesOn) {
    const std::string missing = folder_ / "none.srt";
    const std::string none = folder_.write("none.txt", "nothing of the kind");
    for (const Paths &paths :
         {Paths{{1, missing}}, Paths{{1, none}}, Paths{{1, kClip}}, Paths{{1, missing}, {2, srt_}}}) {
        int failures = -1;
        std::shared_ptr<test::Ear> ear;
        const auto pictures = play(kClip, [&](WatchedPlayer &player, Halves &screen) {
            ear = player.ear;
            EXPECT_EQ(choose(player, 3302, paths), 0);
            screen.then = [&player, &failures](const Seen &) { failures = player.parameter(2019).getInt32(24); };
        });
        EXPECT_EQ(failures, 1) << paths[0].second;
        EXPECT_GT(ear->lines, 0);
        EXPECT_EQ(drawn(pictures, Half::kLower), "");
        EXPECT_EQ(drawn(pictures, Half::kUpper), paths.size() == 2 ? "1000..1960 " : "");
    }
    WatchedPlayer player({kClip});
    EXPECT_EQ(choose(player, 3303, {{7, srt_}}), -1);
    EXPECT_EQ(choose(player, 3303, {{1, ""}}), -1);
}

TEST_F(Subtitles, TheSizeOfThePicturesMayChange) {
    const std::string text = folder_.write("long.srt", "1\n00:00:00,000 --> 00:01:00,000\nlong\n");
    const std::string clip = support::clip("size_change.ts");
    const auto without = play(clip, [](WatchedPlayer &, Halves &) {});
    const auto with = play(clip, [&](WatchedPlayer &player, Halves &) { choose(player, 3303, {{1, text}}); });
    ASSERT_EQ(with.size(), without.size());
    EXPECT_NE(with.front().width, with.back().width);
    for (std::size_t i = 0; i < with.size(); ++i) EXPECT_NE(with[i].lower, without[i].lower) << i;
}

}  // namespace
