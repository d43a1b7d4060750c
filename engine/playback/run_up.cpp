#include "playback/run_up.h"

#include <algorithm>

#include "ffmpeg_versions.h"

namespace oriplayer {
namespace {

// Sound decoders need some packets in front of the first sound that is right.
constexpr int64_t kSoundBeforeUs = 500'000;

int64_t timeOf(const AVPacket &packet) {
    return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
}

int64_t middleOf(const AVFrame &frame) {
    return frame.pts + durationOf(frame) / 2;
}

}  // namespace

MediaError RunUp::goTo(int64_t positionUs, int64_t shiftUs) {
    const bool onTheWay = reachedUs_ == INT64_MIN || (shiftUs == shiftUs_ && reachedUs_ <= positionUs + shiftUs);
    shiftUs_ = shiftUs;
    if (!source_.input->seekable()) {
        if (onTheWay && !over_ && !source_.input->live()) return {};
        return {AVERROR(ESPIPE), "a source that cannot be sought cannot be joined where the other one plays"};
    }
    if (MediaError error = source_.input->seek(positionUs)) return error;
    source_.forgetAhead();
    if (source_.video) source_.video->flush();
    reachedUs_ = INT64_MIN;
    middleUs_ = INT64_MIN;
    endUs_ = 0;
    over_ = false;
    return {};
}

MediaError RunUp::step(int64_t placeUs) {
    PacketPtr packet(av_packet_alloc());
    SourceInput::Stream stream{};
    const int result = packet ? source_.input->read(packet.get(), stream) : AVERROR(ENOMEM);
    if (result == AVERROR_EOF) {
        over_ = true;
        MediaError error = source_.video ? decode(nullptr) : MediaError{};
        dropBefore(placeUs);
        return error;
    }
    if (result < 0) return {result, "reading: " + avErrorText(result)};
    const int64_t time = timeOf(*packet);
    if (time != AV_NOPTS_VALUE) endUs_ = std::max(endUs_, time + packet->duration);
    if (stream == SourceInput::Stream::kAudio) {
        if (source_.audio) keep(std::move(packet));
    } else if (source_.video) {
        if (packet->pts != AV_NOPTS_VALUE) packet->pts += shiftUs_;
        if (packet->dts != AV_NOPTS_VALUE) packet->dts += shiftUs_;
        source_.video->skipBefore(placeUs);
        if (MediaError error = decode(packet.get())) return error;
    }
    dropBefore(placeUs);
    return {};
}

void RunUp::keep(PacketPtr packet) {
    if (!source_.video && timeOf(*packet) != AV_NOPTS_VALUE) {
        reachedUs_ = timeOf(*packet) + shiftUs_;
        middleUs_ = reachedUs_;
    }
    source_.packets.emplace_back(std::move(packet), SourceInput::Stream::kAudio);
}

MediaError RunUp::decode(const AVPacket *packet) {
    for (;;) {
        const int sent = source_.video->send(packet);
        int received = 0;
        while (received >= 0) {
            FramePtr frame(av_frame_alloc());
            received = frame ? source_.video->receive(frame.get()) : AVERROR(ENOMEM);
            if (received < 0) break;
            reachedUs_ = frame->pts;
            middleUs_ = middleOf(*frame);
            source_.pictures.push_back(std::move(frame));
        }
        if (received != AVERROR(EAGAIN) && received != AVERROR_EOF) {
            return {received, std::string("decoding ") + source_.video->codecName() + ": " + avErrorText(received)};
        }
        if (sent != AVERROR(EAGAIN)) return {};
    }
}

void RunUp::dropBefore(int64_t placeUs) {
    if (placeUs == INT64_MIN) return;
    std::erase_if(source_.pictures, [&](const FramePtr &frame) { return middleOf(*frame) < placeUs; });
    std::erase_if(source_.packets, [&](const OpenedSource::Packet &packet) {
        const int64_t time = timeOf(*packet.first);
        return time == AV_NOPTS_VALUE || time + shiftUs_ < placeUs - kSoundBeforeUs;
    });
}

OpenedSource RunUp::finish(int64_t placeUs) {
    dropBefore(placeUs);
    return std::move(source_);
}

}  // namespace oriplayer
