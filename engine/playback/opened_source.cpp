#include "playback/opened_source.h"

#include <iterator>

namespace oriplayer {
namespace {

// What a player shows before its own decoding has to be under way: 120 ms at 25 pictures a second.
constexpr std::size_t kPicturesAhead = 3;
// A stream of which so many packets give no picture is left to the player.
constexpr std::size_t kMostDecoding = 64;

}  // namespace

MediaError OpenedSource::open(const std::string &url, const InputOptions &options, int decoderThreads,
                              SourceInput::Failure &failure) {
    input = std::make_unique<SourceInput>();
    if (MediaError error = input->open(url, options)) {
        failure = input->failure();
        return error;
    }
    MediaError error = openDecoders(decoderThreads);
    if (video || audio) return {};
    failure = SourceInput::Failure::kNothingPlayable;
    return error;
}

MediaError OpenedSource::openDecoders(int threads) {
    MediaError first;
    const auto complain = [&](MediaError error) {
        complaints.push_back(error.text);
        if (!first) first = std::move(error);
    };
    if (input->video()) {
        video = std::make_shared<VideoDecoder>();
        if (MediaError error = video->open(*input->video(), threads)) {
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
    return over_ || !video || pictures.size() >= kPicturesAhead || decoding.size() >= kMostDecoding;
}

bool OpenedSource::prepareOne() {
    PacketPtr packet(av_packet_alloc());
    SourceInput::Stream stream{};
    const int result = packet ? input->read(packet.get(), stream) : AVERROR(ENOMEM);
    over_ = result == AVERROR_EOF;  // the player reads the end again
    if (result < 0) return over_;
    if (stream == SourceInput::Stream::kVideo) return decode(packet);
    packets.emplace_back(std::move(packet), stream);
    return true;
}

bool OpenedSource::decode(const PacketPtr &packet) {
    if (video->send(packet.get()) < 0) return false;
    decoding.emplace_back(av_packet_clone(packet.get()));
    if (!decoding.back()) return false;
    for (;;) {
        FramePtr frame(av_frame_alloc());
        const int result = frame ? video->receive(frame.get()) : AVERROR(ENOMEM);
        if (result == AVERROR(EAGAIN)) return true;
        if (result < 0) return false;
        pictures.push_back(std::move(frame));
    }
}

void OpenedSource::undoDecoding() {
    std::vector<Packet> all;
    for (PacketPtr &packet : decoding) all.emplace_back(std::move(packet), SourceInput::Stream::kVideo);
    std::move(packets.begin(), packets.end(), std::back_inserter(all));
    packets = std::move(all);
    decoding.clear();
    pictures.clear();
}

void OpenedSource::forgetAhead() {
    decoding.clear();
    pictures.clear();
    packets.clear();
}

}  // namespace oriplayer
