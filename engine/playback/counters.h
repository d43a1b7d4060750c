#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace oriplayer {

/// What one player has done so far. Each member is written by one thread and read by any.
struct Counters {
    using Count = std::atomic<int64_t>;
    // reading
    Count networkBytes{0};
    Count mediumBytes{0};
    Count decoderBytes{0};    ///< of packets handed to the decoders
    Count discardedBytes{0};  ///< read, but dropped by a seek or a replacement
    // video
    Count videoPackets{0};
    Count videoBytes{0};
    Count videoUs{0};  ///< programme time of these packets
    Count keyPackets{0};
    Count keyBytes{0};
    Count picturesDecoded{0};
    Count picturesDecodedUs{0};  ///< programme time of these pictures
    Count picturesSkipped{0};    ///< left out by the decoder because it was late
    Count picturesShown{0};
    Count picturesDropped{0};  ///< decoded, but too late to be shown
    Count decodeUs{0};         ///< wall time of decoding and converting
    Count renderUs{0};         ///< wall time inside the pipeline
    // sound
    Count audioPackets{0};
    Count soundsDecoded{0};
    Count soundsDecodedUs{0};  ///< programme time of these sounds
    Count soundsDropped{0};    ///< too late to be heard
    Count soundsDamaged{0};    ///< packets that the decoder could not decode
    // playing
    Count presentedUs{0};    ///< programme time presented
    Count stalls{0};         ///< times that playback stopped because nothing was read
    Count apart{0};          ///< times that pictures began to be too late for the sound
    Count picturesStuck{0};  ///< times that the picture froze while the sound continued
    Count soundsMissing{0};  ///< times that the sound failed while pictures continued, including a lost device
    // the streams
    std::atomic<int> videoCodec{0};
    std::atomic<int> width{0};
    std::atomic<int> height{0};
    std::atomic<int> sampleRate{0};
    std::atomic<double> frameRate{0.0};
    std::atomic<bool> hasVideo{false};
    std::atomic<bool> hasAudio{false};
    std::atomic<bool> opened{false};   ///< the first source's streams are known
    std::atomic<bool> network{false};  ///< the open source is on the network
};

/// Adds the wall time of a scope to a counter.
class Stopwatch {
public:
    explicit Stopwatch(Counters::Count &total) : total_(total) {}
    ~Stopwatch() {
        using namespace std::chrono;
        total_ += duration_cast<microseconds>(steady_clock::now() - begin_).count();
    }
    Stopwatch(const Stopwatch &) = delete;
    Stopwatch &operator=(const Stopwatch &) = delete;

private:
    Counters::Count &total_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

}  // namespace oriplayer
