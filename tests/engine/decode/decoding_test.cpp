#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <vector>

#include "decode/audio_decoder.h"
#include "decode/picture_converter.h"
#include "decode/video_decoder.h"
#include "engine/decode/picture_digest.h"
#include "input/source_input.h"
#include "support/clips.h"

namespace {

using namespace oriplayer;

/// A file read and decoded from its present place to its end.
struct Decoded {
    int pictures = 0;
    std::string md5;
    std::vector<int64_t> pictureUs;
    std::vector<int64_t> pictureLengthUs;
    int64_t firstSoundUs = INT64_MAX;
    int64_t soundUs = 0;  // length of all sound from 0 on
    int64_t damaged = 0;
    int result = 0;  // of the last receive
};

class Decoding {
public:
    explicit Decoding(const std::string &path, InputOptions options = {}) {
        const MediaError opened = input.open(path, options);
        EXPECT_FALSE(opened) << opened.text;
        EXPECT_FALSE(input.video() && video.open(*input.video(), 0));
        EXPECT_FALSE(input.audio() && audio.open(*input.audio()));
    }

    Decoded toEnd() {
        Decoded decoded;
        PictureDigest digest;
        PacketPtr packet(av_packet_alloc());
        SourceInput::Stream stream = SourceInput::Stream::kVideo;
        while (input.read(packet.get(), stream) == 0) {
            if (stream == SourceInput::Stream::kVideo) {
                EXPECT_NE(video.send(packet.get()), AVERROR(EAGAIN));
                takePictures(decoded, digest);
            } else {
                EXPECT_NE(audio.send(packet.get()), AVERROR(EAGAIN));
                takeSound(decoded);
            }
            av_packet_unref(packet.get());
        }
        if (input.audio()) audio.send(nullptr), takeSound(decoded);
        if (input.video()) video.send(nullptr), takePictures(decoded, digest);
        decoded.md5 = decoded.pictures ? digest.text() : "none";
        decoded.damaged = video.damagedPackets() + audio.damagedPackets();
        return decoded;
    }

    SourceInput input;
    VideoDecoder video;
    AudioDecoder audio;

private:
    void takePictures(Decoded &decoded, PictureDigest &digest) {
        for (;;) {
            FramePtr frame(av_frame_alloc());
            decoded.result = video.receive(frame.get());
            if (decoded.result < 0) return;
            MediaError error;
            FramePtr picture = converter_.toI420(std::move(frame), error);
            ASSERT_TRUE(picture) << error.text;
            digest.add(*picture);
            decoded.pictureUs.push_back(picture->pts);
            decoded.pictureLengthUs.push_back(picture->pkt_duration);
            ++decoded.pictures;
        }
    }

    void takeSound(Decoded &decoded) {
        FramePtr frame(av_frame_alloc());
        while (audio.receive(frame.get()) == 0) {
            decoded.firstSoundUs = std::min(decoded.firstSoundUs, frame->pts);
            decoded.soundUs += std::min(frame->pkt_duration, std::max<int64_t>(0, frame->pts + frame->pkt_duration));
            av_frame_unref(frame.get());
        }
    }

    PictureConverter converter_;
};

struct RealFile {
    const char *name;
    int pictures;
    const char *md5;
};

// Counted and hashed with the ffmpeg program, see tests/media/README.md.
constexpr RealFile kRealFiles[] = {
    {"preroll-5s.mp4", 125, "44618a481228e3108db787b4d98926cc"},
    {"midroll-5s.mp4", 125, "a487b5ad54f27f9bfb4bb7765006a9cf"},
    {"postroll-5s.mp4", 125, "e51fc312002a9a48956bb518bc01e7ad"},
    {"bear-vp9.webm", 82, "5c822e3d06dd53025915baef29b01cf0"},
    {"sample_h265.ts", 30, "19da2d7a31f79fd9e30062b1bf986c27"},
    {"sample-with-key-frame-index.flv", 71, "dc8e571b19788304d400927850823c83"},
    {"bear_vorbis.ogg", 0, "none"},
};

TEST(Decoding, RealFilesGiveEveryPictureBitByBit) {
    for (const RealFile &file : kRealFiles) {
        SCOPED_TRACE(file.name);
        Decoding decoding(std::string(MEDIA_DIRECTORY "/") + file.name);
        const Decoded decoded = decoding.toEnd();
        EXPECT_EQ(decoded.pictures, file.pictures);
        EXPECT_EQ(decoded.md5, file.md5);
        EXPECT_EQ(decoded.damaged, 0);
        EXPECT_EQ(decoded.pictures > 0 ? decoded.pictureUs.front() : 0, 0);
    }
}

TEST(Decoding, ClipsGiveWhatTheFfmpegProgramDecodes) {
    for (const char *name :
         {"h264_aac.mp4", "hevc_aac.mkv", "vp9_opus.webm", "av1_opus.mkv", "mpeg2_mp2.ts", "bframes.mkv", "vfr.mkv",
          "odd_size.mkv", "interlaced.ts", "late_start.ts", "wrap.ts", "flv1_mp3.flv", "mpeg4_mp3.avi",
          "sound_longer.mkv", "size_change.ts", "jump_back.ts", "ten_bit.mkv", "yuv422.mkv", "yuv444.mkv"}) {
        SCOPED_TRACE(name);
        Decoding decoding(support::clip(name));
        const Decoded decoded = decoding.toEnd();
        const support::Expected expected = support::expected(name);
        EXPECT_EQ(decoded.pictures, expected.pictures);
        EXPECT_EQ(decoded.md5, expected.md5);
    }
}

TEST(Decoding, AKeyFrameAloneGivesThePictureThatComesFirst) {
    for (const char *name : {"h264_aac.mp4", "bframes.mkv", "vp9_opus.webm", "av1_opus.mkv", "interlaced.ts"}) {
        SCOPED_TRACE(name);
        Decoding decoding(support::clip(name));
        PacketPtr packet(av_packet_alloc());
        SourceInput::Stream stream = SourceInput::Stream::kAudio;
        do {
            av_packet_unref(packet.get());
            ASSERT_EQ(decoding.input.read(packet.get(), stream), 0);
        } while (stream != SourceInput::Stream::kVideo);
        const FramePtr alone = decoding.video.decodeAlone(*packet);
        FramePtr first(av_frame_alloc());
        do {
            if (stream == SourceInput::Stream::kVideo) decoding.video.send(packet.get());
            av_packet_unref(packet.get());
        } while (decoding.video.receive(first.get()) != 0 && decoding.input.read(packet.get(), stream) == 0);
        ASSERT_EQ(alone != nullptr, !first->interlaced_frame) << "it may be one field of two";
        if (!alone) continue;
        EXPECT_EQ(alone->pts, first->pts);
        PictureDigest one;
        PictureDigest other;
        one.add(*alone);
        other.add(*first);
        EXPECT_EQ(one.text(), other.text());
    }
}

TEST(Decoding, PicturesStandOneBehindTheOtherFromZero) {
    // All have 25 pictures a second; those that jump last two seconds. FLV counts in whole milliseconds.
    for (const char *name : {"h264_aac.mp4", "mpeg2_mp2.ts", "bframes.mkv", "late_start.ts", "wrap.ts", "jump_back.ts",
                             "jump_forward.ts", "flv1_mp3.flv", "interlaced.ts", "hevc_aac.mkv"}) {
        SCOPED_TRACE(name);
        Decoding decoding(support::clip(name));
        const Decoded decoded = decoding.toEnd();
        ASSERT_FALSE(decoded.pictureUs.empty());
        EXPECT_EQ(decoded.pictureUs.front(), 0);
        int64_t expectedUs = 0;
        for (std::size_t i = 0; i < decoded.pictureUs.size(); ++i) {
            EXPECT_NEAR(static_cast<double>(decoded.pictureUs[i]), static_cast<double>(expectedUs), 1000.0) << i;
            EXPECT_NEAR(static_cast<double>(decoded.pictureLengthUs[i]), 40'000.0, 1000.0) << i;
            expectedUs += 40'000;
        }
    }
}

TEST(Decoding, SoundBeginsWithThePictureAndAllOfItIsThere) {
    // The encoders' run-up is cut, but for mp2 and mp3, whose containers here do not say how long it is (up to 50 ms).
    for (const char *name : {"h264_aac.mp4", "vp9_opus.webm", "mpeg2_mp2.ts", "audio_only.ogg", "audio_only.mp3",
                             "audio_only.wav", "surround.mkv", "wrap.ts"}) {
        SCOPED_TRACE(name);
        Decoding decoding(support::clip(name));
        const Decoded decoded = decoding.toEnd();
        EXPECT_NEAR(static_cast<double>(decoded.firstSoundUs), 0.0, 50'000.0);
        EXPECT_NEAR(static_cast<double>(decoded.soundUs), 1e6, 60'000.0);
    }
}

TEST(Decoding, DamageIsPassedOver) {
    Decoding decoding(support::clip("damaged.ts"));
    const Decoded decoded = decoding.toEnd();
    EXPECT_GE(decoded.pictures, 20);  // of 25, five at most lie in the hole
    EXPECT_EQ(decoded.result, AVERROR_EOF);
}

TEST(Decoding, AStreamOfNothingButNoiseFailsForGood) {
    Decoding decoding(support::clip("h264_aac.mp4"));
    PacketPtr packet(av_packet_alloc());
    FramePtr frame(av_frame_alloc());
    int result = 0;
    for (int sent = 0; sent < 500 && result != AVERROR_INVALIDDATA; ++sent) {
        ASSERT_EQ(av_new_packet(packet.get(), 200), 0);
        for (int i = 0; i < 200; ++i) packet->data[i] = static_cast<uint8_t>(i * 7 + sent);
        decoding.video.send(packet.get());
        result = decoding.video.receive(frame.get());
        av_packet_unref(packet.get());
    }
    EXPECT_EQ(result, AVERROR_INVALIDDATA);
    EXPECT_GE(decoding.video.damagedPackets(), 100);
}

/// The first picture shown at or behind a position, as a player finds it behind a seek.
struct Found {
    int number = -1;  // as written in the picture
    int64_t pictureUs = -1;
    int64_t landedUs = -1;  // of the first packet of the video
};

Found pictureAt(Decoding &decoding, int64_t targetUs) {
    Found found;
    const MediaError error = decoding.input.seek(targetUs);
    EXPECT_FALSE(error) << error.text;
    decoding.video.flush();
    decoding.video.skipBefore(targetUs);
    PacketPtr packet(av_packet_alloc());
    FramePtr frame(av_frame_alloc());
    SourceInput::Stream stream = SourceInput::Stream::kAudio;
    for (bool ended = false; !ended;) {
        av_packet_unref(packet.get());
        ended = decoding.input.read(packet.get(), stream) < 0;
        if (!ended && stream != SourceInput::Stream::kVideo) continue;
        if (found.landedUs < 0) found.landedUs = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
        decoding.video.send(ended ? nullptr : packet.get());
        while (decoding.video.receive(frame.get()) == 0) {
            // Containers that count in milliseconds round: the picture of 480 ms may be said to begin at 480.4.
            if (frame->pts + frame->pkt_duration <= targetUs + 1000) continue;
            found.number = support::pictureNumber(frame->data[0], frame->linesize[0]);
            found.pictureUs = frame->pts;
            return found;
        }
    }
    return found;
}

TEST(Decoding, SeeksShowTheRightPictureInEveryContainer) {
    struct Case {
        const char *name;
        int late = 0;  // pictures by which all but the first come later than their number says
    };
    // The AVI file leaves a place for one picture behind the first.
    constexpr Case kCases[] = {{"h264_aac.mp4"},  {"hevc_aac.mkv"},     {"vp9_opus.webm"}, {"mpeg2_mp2.ts"},
                               {"bframes.mkv"},   {"wrap.ts"},          {"flv1_mp3.flv"},  {"mpeg4_mp3.avi", 1},
                               {"late_start.ts"}, {"raw_bframes.h264"}, {"open_gop.mpg"},  {"bframes.mp4"}};
    for (const Case &c : kCases) {
        Decoding decoding(support::clip(c.name));
        for (const int64_t targetMs : {840, 0, 480, 80, 960, 500}) {
            SCOPED_TRACE(std::string(c.name) + " at " + std::to_string(targetMs));
            const Found found = pictureAt(decoding, targetMs * 1000);
            EXPECT_EQ(found.number, targetMs == 0 ? 0 : targetMs / 40 - c.late);
            EXPECT_NEAR(static_cast<double>(found.pictureUs), static_cast<double>(targetMs / 40 * 40'000), 1000.0);
            EXPECT_LE(found.landedUs, std::max<int64_t>(targetMs * 1000, 80'000));  // open groups begin behind 0
        }
    }
}

TEST(Decoding, ASeekGoesToTheNearestKeyFrame) {
    Decoding decoding(support::clip("numbered.mp4"));  // one every two seconds
    for (const auto &[targetMs, keyMs] : {std::pair{9999, 8000}, {4000, 4000}, {3999, 2000}, {0, 0}, {20000, 8000}}) {
        EXPECT_EQ(pictureAt(decoding, targetMs * 1000).landedUs, keyMs * 1000) << targetMs;
    }
}

}  // namespace
