#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "decode/audio_decoder.h"
#include "decode/video_decoder.h"
#include "input/source_input.h"

namespace oriplayer {

/// A source at its beginning with its decoders, and what was read and decoded of it ahead.
/// Threads:  one at a time.
class OpenedSource {
public:
    using Packet = std::pair<PacketPtr, SourceInput::Stream>;

    /// A stream without a decoder does not fail if there is a decoder for the other one.
    MediaError open(const std::string &url, const InputOptions &options, const ThreadLimits &limits,
                    SourceInput::Failure &failure);

    /// Reads one packet towards the first pictures: it is kept, and decoded if it is a picture's. False if that fails.
    bool prepareOne();
    /// The first pictures are decoded, or none will come.
    bool picturesReady() const;

    /// Releases everything that was read ahead: the input is about to seek.
    void forgetAhead();

    std::unique_ptr<SourceInput> input;
    std::shared_ptr<VideoDecoder> video;
    std::shared_ptr<AudioDecoder> audio;
    std::vector<std::string> complaints;  ///< about streams without a decoder

    std::vector<FramePtr> pictures;  ///< decoded ahead, in order
    std::vector<Packet> packets;     ///< read ahead, in order

private:
    MediaError openDecoders(const ThreadLimits &limits);
    bool decode(const AVPacket &packet);

    std::size_t decoded_ = 0;  ///< packets that went into the video decoder
    bool over_ = false;
};

}  // namespace oriplayer
