#include "input/source_input.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "playlist/local_duration.h"
#include "support/clips.h"
#include "support/temporary_folder.h"

namespace {

using namespace oriplayer;
using Failure = SourceInput::Failure;

TEST(SourceInput, WhatCannotBePlayedIsRefusedWithItsReason) {
    const support::TemporaryFolder folder;
    const struct {
        std::string path;
        Failure failure;
        const char *reason;
    } cases[] = {
        {folder.write("text.mp4", "This is no film. " + std::string(5000, 'x')), Failure::kCannotOpen, "Invalid"},
        {folder.write("empty.mp4", ""), Failure::kCannotOpen, "cannot"},
        {folder.write("words.srt", "1\n00:00:00,000 --> 00:00:01,000\nHello\n\n"), Failure::kNothingPlayable,
         "no stream that can be played"},
        {folder / "missing.mp4", Failure::kCannotOpen, "No such file"},
        {folder.path(), Failure::kCannotOpen, "Is a directory"}};
    for (const auto &each : cases) {
        SourceInput input;
        const MediaError error = input.open(each.path, {});
        EXPECT_LT(error.native, 0) << each.path;
        EXPECT_EQ(input.failure(), each.failure) << error.text;
        EXPECT_NE(error.text.find(each.reason), std::string::npos) << error.text;
        EXPECT_NE(error.text.find(each.path), std::string::npos) << error.text;
    }
    SourceInput nothing;
    EXPECT_TRUE(nothing.open("", {}));
    EXPECT_TRUE(nothing.seek(0));
}

TEST(SourceInput, APathThatLooksLikeAUrlIsStillAFile) {
    const support::TemporaryFolder folder;
    std::filesystem::copy(support::clip("numbered.mp4"), folder / "12:30 100% done.mp4");
    for (const std::string &url :
         {folder / "12:30 100% done.mp4", "file://" + (folder / "12:30%20100%25%20done.mp4")}) {
        SourceInput input;
        const MediaError error = input.open(url, {});
        EXPECT_FALSE(error) << error.text;
        EXPECT_FALSE(input.network());
    }
}

TEST(SourceInput, ALocalListMayNameAKeyAsKeysAreNamed) {
    const support::TemporaryFolder folder;
    std::filesystem::copy(support::clip("locked.ts"), folder / "locked.ts");
    folder.write("k.key", std::string(16, 'k'));
    SourceInput input;
    const MediaError error = input.open(
        folder.write("list.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXT-X-KEY:METHOD=AES-128,URI=\"k.key\",IV=0x" +
                                      std::string(32, '0') + "\n#EXTINF:1,\nlocked.ts\n#EXT-X-ENDLIST\n"),
        {});
    EXPECT_FALSE(error) << error.text;
}

TEST(SourceInput, LengthsAreTheContainersOwn_RememberedUntilTheFileIsAnotherOne) {
    const support::TemporaryFolder folder;
    for (const char *name :
         {"h264_aac.mp4", "mpeg2_mp2.ts", "vp9_opus.webm", "audio_only.ogg", "flv1_mp3.flv", "numbered.mp4"}) {
        const double expectedMs = static_cast<double>(support::expected(name).durationMs);
        SourceInput input;
        ASSERT_FALSE(input.open(support::clip(name), {})) << name;
        EXPECT_NEAR(static_cast<double>(input.durationUs()) / 1000.0, expectedMs, 1.0) << name;
        std::filesystem::copy(support::clip(name), folder / "clip", std::filesystem::copy_options::overwrite_existing);
        for (int i = 0; i < 2; ++i) EXPECT_NEAR(probeLocalDuration(folder / "clip") * 1000.0, expectedMs, 1.0) << name;
    }
    EXPECT_EQ(probeLocalDuration("/nowhere"), 0.0);
}

TEST(SourceInput, StreamsAreChosenAsAsked) {
    struct Case {
        const char *name;
        bool video;
        bool audio;
        const char *track;
        int chosenVideo;
        int chosenAudio;
    };
    for (const Case &c :
         {Case{"two_languages.mkv", true, true, "", 0, 1}, Case{"two_languages.mkv", true, true, "1", 0, 2},
          Case{"two_languages.mkv", true, true, "DEU", 0, 2}, Case{"two_languages.mkv", true, true, "fra", 0, 1},
          Case{"two_languages.mkv", false, true, "7", -1, 1}, Case{"two_languages.mkv", true, false, "", 0, -1},
          Case{"cover.m4a", true, true, "", -1, 0}}) {
        SCOPED_TRACE(std::string(c.name) + ' ' + c.track);
        InputOptions options;
        options.wantVideo = c.video;
        options.wantAudio = c.audio;
        options.audioTrack = c.track;
        SourceInput input;
        const MediaError error = input.open(support::clip(c.name), options);
        ASSERT_FALSE(error) << error.text;
        EXPECT_EQ(input.video() ? input.video()->index : -1, c.chosenVideo);
        EXPECT_EQ(input.audio() ? input.audio()->index : -1, c.chosenAudio);
    }
    InputOptions options;
    options.wantVideo = options.wantAudio = false;
    SourceInput input;
    input.open(support::clip("numbered.mp4"), options);
    EXPECT_EQ(input.failure(), Failure::kNothingPlayable);
}

TEST(SourceInput, SoundAloneIsSoughtInEveryContainer) {
    for (const char *name : {"audio_only.ogg", "audio_only.mp3", "audio_only.wav", "audio_only.flac", "audio_only.aac",
                             "cover.m4a", "surround.mkv"}) {
        SourceInput input;
        ASSERT_FALSE(input.open(support::clip(name), {})) << name;
        for (const int64_t targetUs : {900'000, 0, 500'000}) {
            SCOPED_TRACE(std::string(name) + " at " + std::to_string(targetUs));
            const MediaError error = input.seek(targetUs);
            ASSERT_FALSE(error) << error.text;
            PacketPtr packet(av_packet_alloc());
            SourceInput::Stream stream = SourceInput::Stream::kVideo;
            ASSERT_EQ(input.read(packet.get(), stream), 0);
            EXPECT_EQ(stream, SourceInput::Stream::kAudio);
            EXPECT_LE(packet->pts, targetUs);
            EXPECT_GE(packet->pts, targetUs - 250'000);  // a run-up of 100 ms and the length of a packet
        }
    }
}

TEST(SourceInput, TheFirstMomentIsThePictureUnlessItIsLate) {
    struct Case {
        const char *name;
        double firstVideoMs;  // about
        double firstAudioMs;  // about
    };
    for (const Case &c : {Case{"late_start.ts", 0, 0.0}, Case{"wrap.ts", 0, 0.0}, Case{"sound_longer.mkv", 0, 0.0},
                          Case{"late_picture.mkv", 520.0, 0.0}, Case{"late_sound.mkv", 0, 500.0}}) {
        SCOPED_TRACE(c.name);
        SourceInput input;
        ASSERT_FALSE(input.open(support::clip(c.name), {}));
        PacketPtr packet(av_packet_alloc());
        SourceInput::Stream stream = SourceInput::Stream::kVideo;
        int64_t video = -1, audio = -1;
        while ((video < 0 || audio < 0) && input.read(packet.get(), stream) == 0) {
            int64_t &first = stream == SourceInput::Stream::kVideo ? video : audio;
            if (first < 0) first = packet->pts;
            av_packet_unref(packet.get());
        }
        EXPECT_TRUE(video == 0 || (audio == 0 && video > 0)) << video << ' ' << audio;
        EXPECT_NEAR(static_cast<double>(video) / 1000.0, c.firstVideoMs, 60.0);
        EXPECT_NEAR(static_cast<double>(audio) / 1000.0, c.firstAudioMs, 60.0);
    }
}

}  // namespace
