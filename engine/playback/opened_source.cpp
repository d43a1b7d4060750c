#include "playback/opened_source.h"

namespace oriplayer {
namespace {

// What a player shows while its own decoder starts: 120 ms at 25 pictures a second.
constexpr std::size_t kPicturesAhead = 3;
// A stream of which so many packets give too few pictures is left to the player.
constexpr std::size_t kMostDecoded = 64;

}  // namespace

MediaError OpenedSource::open(const std::string &url, const InputOptions &options, const ThreadLimits &limits,
                              SourceInput::Failure &failure) {
    input = std::make_unique<SourceInput>();
    if (MediaError error = input->open(url, options)) {
        failure = input->failure();
        return error;
    }
    MediaError error = openDecoders(limits);
    if (video || audio) return {};
    failure = SourceInput::Failure::kNothingPlayable;
    return error;
}

MediaError OpenedSource::openDecoders(const ThreadLimits &limits) {
    MediaError first;
    const auto complain = [&](MediaError error) {
        complaints.push_back(error.text);
        if (!first) first = std::move(error);
    };
    if (input->video()) {
        video = std::make_shared<VideoDecoder>();
        if (MediaError error = video->open(*input->video(), limits)) {
            complain(std::move(error));
            video.reset();
        }
    }
    if (input->audio()) {
        audio = std::make_shared<AudioDecoder>();
        if (MediaError error = audio->open(*input->audio())) {
            complain(std::move(error));
            audio.reset();
        }
    }
    return first;
}

bool OpenedSource::picturesReady() const {
    return over_ || !video || pictures.size() >= kPicturesAhead || decoded_ >= kMostDecoded;
}

bool OpenedSource::prepareOne() {
    PacketPtr packet(av_packet_alloc());
    SourceInput::Stream stream{};
    const int result = packet ? input->read(packet.get(), stream) : AVERROR(ENOMEM);
    over_ = result == AVERROR_EOF;  // the player reads the end again
    if (result < 0) return over_;
    packets.emplace_back(std::move(packet), stream);
    return stream != SourceInput::Stream::kVideo || decode(*packets.back().first);
}

bool OpenedSource::decode(const AVPacket &packet) {
    ++decoded_;
    if (video->send(&packet) < 0) return false;
    for (;;) {
        FramePtr frame(av_frame_alloc());
        const int result = frame ? video->receive(frame.get()) : AVERROR(ENOMEM);
        if (result == AVERROR(EAGAIN)) return true;
        if (result < 0) return false;
        pictures.push_back(std::move(frame));
    }
}

void OpenedSource::forgetAhead() {
    pictures.clear();
    packets.clear();
}

}  // namespace oriplayer
