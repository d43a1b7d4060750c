#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

#include "input/source_input.h"

namespace oriplayer {

/// Packets that were read to learn something and are still to be handed out, in order.
/// Threads:  one at a time.
class HeldPackets {
public:
    bool empty() const { return packets_.empty(); }
    std::size_t bytes() const { return bytes_; }
    void clear();
    void push(PacketPtr packet, SourceInput::Stream stream);
    PacketPtr pop(SourceInput::Stream &stream);

    /// The last packet is the key frame to begin with, shown at `us`: drops the pictures in front of it, and the sound
    /// but for the little that decoders want as a run-up.
    void beginAtLast(int64_t us);
    /// Adds `us` to all times.
    void shift(int64_t us);

private:
    struct Held {
        PacketPtr packet;
        SourceInput::Stream stream;
    };
    std::deque<Held> packets_;
    std::size_t bytes_ = 0;
};

}  // namespace oriplayer
