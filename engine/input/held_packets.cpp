#include "input/held_packets.h"

#include <utility>

namespace oriplayer {

namespace {
constexpr int64_t kSoundRunUpUs = 100'000;  // Opus asks for 80 ms, the others for a frame or two
}

void HeldPackets::clear() {
    packets_.clear();
    bytes_ = 0;
}

void HeldPackets::push(PacketPtr packet, SourceInput::Stream stream) {
    bytes_ += static_cast<std::size_t>(packet->size);
    packets_.push_back({std::move(packet), stream});
}

PacketPtr HeldPackets::pop(SourceInput::Stream &stream) {
    PacketPtr packet = std::move(packets_.front().packet);
    stream = packets_.front().stream;
    packets_.pop_front();
    bytes_ -= static_cast<std::size_t>(packet->size);
    return packet;
}

void HeldPackets::beginAtLast(int64_t us) {
    std::deque<Held> former;
    former.swap(packets_);
    bytes_ = 0;
    for (Held &held : former) {
        const bool last = &held == &former.back();
        const bool sound = held.stream == SourceInput::Stream::kAudio;
        if (last || (sound && held.packet->pts + held.packet->duration > us - kSoundRunUpUs)) {
            push(std::move(held.packet), held.stream);
        }
    }
}

void HeldPackets::shift(int64_t us) {
    for (Held &held : packets_) {
        if (held.packet->pts != AV_NOPTS_VALUE) held.packet->pts += us;
        if (held.packet->dts != AV_NOPTS_VALUE) held.packet->dts += us;
    }
}

}  // namespace oriplayer
