// That every picture of every clip is decoded bit by bit is seen where a player plays them.

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/imgutils.h>
}

#include <vector>

#include "decode/audio_decoder.h"
#include "decode/video_decoder.h"
#include "ffmpeg_versions.h"
#include "input/source_input.h"
#include "support/clips.h"

namespace {

using namespace oriplayer;
using Stream = SourceInput::Stream;

struct Decoding : testing::Test {
    void open(const std::string &name) {
        const MediaError opened = input.open(support::clip(name), {});
        EXPECT_FALSE(opened) << opened.text;
        EXPECT_FALSE(input.video() && video.open(*input.video(), {}));
        EXPECT_FALSE(input.audio() && audio.open(*input.audio()));
    }
    /// False at the end.
    bool read(Stream wanted) {
        Stream stream;
        do {
            av_packet_unref(packet.get());
            if (input.read(packet.get(), stream) != 0) return false;
        } while (stream != wanted);
        return true;
    }

    SourceInput input;
    VideoDecoder video;
    AudioDecoder audio;
    PacketPtr packet{av_packet_alloc()};
};

std::vector<uint8_t> bytesOf(const AVFrame &frame) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    std::vector<uint8_t> bytes(
        static_cast<std::size_t>(av_image_get_buffer_size(format, frame.width, frame.height, 1)));
    av_image_copy_to_buffer(bytes.data(), static_cast<int>(bytes.size()), frame.data, frame.linesize, format,
                            frame.width, frame.height, 1);
    return bytes;
}

class KeyFrames : public Decoding, public testing::WithParamInterface<const char *> {};

TEST_P(KeyFrames, OneAloneGivesThePictureThatComesFirst) {
    open(GetParam());
    ASSERT_TRUE(read(Stream::kVideo));
    const FramePtr alone = video.decodeAlone(*packet);
    const FramePtr first(av_frame_alloc());
    do {
        video.send(packet.get());
    } while (video.receive(first.get()) != 0 && read(Stream::kVideo));
    ASSERT_EQ(alone != nullptr, !isInterlaced(*first)) << "it may be one field of two";
    if (alone) {
        EXPECT_EQ(alone->pts, first->pts);
        EXPECT_EQ(bytesOf(*alone), bytesOf(*first));
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, KeyFrames,
                         testing::Values("h264_aac.mp4", "bframes.mkv", "vp9_opus.webm", "av1_opus.mkv",
                                         "interlaced.ts"));

class Sound : public Decoding, public testing::WithParamInterface<const char *> {};

// The encoders' run-up is cut, but for mp2 and mp3, whose containers here do not say how long it is (up to 50 ms).
TEST_P(Sound, BeginsWithThePictureAndIsAllThere) {
    open(GetParam());
    const FramePtr frame(av_frame_alloc());
    int64_t firstUs = INT64_MAX;
    int64_t lengthUs = 0;  // from 0 on
    for (bool more = true; more;) {
        more = read(Stream::kAudio);
        audio.send(more ? packet.get() : nullptr);
        while (audio.receive(frame.get()) == 0) {
            firstUs = std::min(firstUs, frame->pts);
            lengthUs += std::min(durationOf(*frame), std::max<int64_t>(0, endOf(*frame)));
        }
    }
    EXPECT_NEAR(static_cast<double>(firstUs), 0.0, 50'000.0);
    EXPECT_NEAR(static_cast<double>(lengthUs), 1e6, 60'000.0);
}

INSTANTIATE_TEST_SUITE_P(Clips, Sound,
                         testing::Values("h264_aac.mp4", "vp9_opus.webm", "mpeg2_mp2.ts", "audio_only.ogg",
                                         "audio_only.mp3", "audio_only.wav", "surround.mkv", "wrap.ts"));

TEST_F(Decoding, AStreamOfNothingButNoiseFailsForGood) {
    open("h264_aac.mp4");
    const FramePtr frame(av_frame_alloc());
    int result = 0;
    for (int sent = 0; sent < 500 && result != AVERROR_INVALIDDATA; ++sent) {
        av_packet_unref(packet.get());
        ASSERT_EQ(av_new_packet(packet.get(), 200), 0);
        for (int i = 0; i < 200; ++i) packet->data[i] = static_cast<uint8_t>(i * 7 + sent);
        video.send(packet.get());
        result = video.receive(frame.get());
    }
    EXPECT_EQ(result, AVERROR_INVALIDDATA);
    EXPECT_GE(video.damagedPackets(), 100);
}

}  // namespace
