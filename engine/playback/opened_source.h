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

    /// `decoderThreads` 0: the machine's cores. One stream that no decoder is there for does not silence the other.
    MediaError open(const std::string &url, const InputOptions &options, int decoderThreads,
                    SourceInput::Failure &failure);

    /// Reads one packet on the way to the first pictures; a picture's is decoded, sound is kept. False if that fails.
    bool prepareOne();
    /// The first pictures are there, or there are none to come.
    bool picturesReady() const;

    /// Takes back what was decoded: all packets are to be decoded anew, by flushed decoders.
    void undoDecoding();
    /// Forgets everything read ahead: the input goes elsewhere.
    void forgetAhead();

    std::unique_ptr<SourceInput> input;
    std::shared_ptr<VideoDecoder> video;
    std::shared_ptr<AudioDecoder> audio;
    std::vector<std::string> complaints;  ///< about streams without a decoder

    std::vector<PacketPtr> decoding;  ///< went into the decoder, in front of `packets`
    std::vector<FramePtr> pictures;   ///< came out of it
    std::vector<Packet> packets;      ///< to come next, in order

private:
    MediaError openDecoders(int threads);
    bool decode(const PacketPtr &packet);

    bool over_ = false;
};

}  // namespace oriplayer
