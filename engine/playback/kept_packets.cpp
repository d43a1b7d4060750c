#include "playback/kept_packets.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "playback/packet_times.h"

namespace oriplayer {
namespace {

// Sound decoders need some packets in front of the first sound that is right: Opus asks for 80 ms, a frame of MP3 may
// lean on the five before it.
constexpr int64_t kSoundRunUpUs = 200'000;

struct Waiting {
    std::vector<StreamItem> packets;  ///< of the stream read last, in order
    int64_t fedUs = INT64_MIN;        ///< end of what its decoder got before them; INT64_MIN: not known to be theirs

    bool decoderCanGoOn(int64_t targetUs) const { return fedUs != INT64_MIN && fedUs <= targetUs; }
};

std::optional<Waiting> packetsOf(PacketQueue::Content content) {
    Waiting waiting;
    waiting.fedUs = content.fedUs;
    for (StreamItem &item : content.items) {
        if (item.kind == StreamItem::Kind::kFlush && item.goesOn) {
            waiting.fedUs = std::max(waiting.fedUs, item.fedUs);
        } else if (item.packet) {
            waiting.packets.push_back(std::move(item));
        } else if (item.kind != StreamItem::Kind::kEnd) {
            waiting.packets.clear();  // another decoder's, and those behind come to one that has nothing yet
            waiting.fedUs = INT64_MIN;
        }
    }
    const bool timed = std::all_of(waiting.packets.begin(), waiting.packets.end(),
                                   [](const StreamItem &item) { return endOf(*item.packet) != kUnknownEnd; });
    if (!timed) return std::nullopt;
    return waiting;
}

bool reaches(const std::vector<StreamItem> &packets, int64_t targetUs) {
    return std::any_of(packets.begin(), packets.end(),
                       [targetUs](const StreamItem &item) { return endOf(*item.packet) > targetUs; });
}

/// Whether one of an H.264 packet's units is of an IDR picture. Units stand behind start codes or behind their length
/// in four bytes; other forms are rare and count as none.
bool hasIdr(const AVPacket &packet) {
    const uint8_t *data = packet.data;
    const uint8_t *end = packet.data + packet.size;
    const bool codes = packet.size > 4 && data[0] == 0 && data[1] == 0 && (data[2] == 1 || (!data[2] && data[3] == 1));
    while (end - data > 4) {
        if (codes) {
            static constexpr uint8_t kCode[] = {0, 0, 1};
            data = std::search(data, end, std::begin(kCode), std::end(kCode));
            if (end - data <= 3) return false;
            data += 3;
            if ((*data & 0x1f) == 5) return true;
            continue;
        }
        const std::ptrdiff_t size = std::ptrdiff_t{data[0]} << 24 | data[1] << 16 | data[2] << 8 | data[3];
        if ((data[4] & 0x1f) == 5) return true;
        if (size > end - data - 4) return false;
        data += 4 + size;
    }
    return false;
}

// H.264 also knows recovery points, from which on pictures become whole by and by, and which not every container's
// index counts as a key frame.
bool isEntry(const AVPacket &packet, AVCodecID codec) {
    return codec != AV_CODEC_ID_H264 || hasIdr(packet);
}

}  // namespace

std::optional<KeptPackets> keepPictures(PacketQueue::Content content, int64_t targetUs, SeekMode mode,
                                        AVCodecID codec) {
    auto waiting = packetsOf(std::move(content));
    if (!waiting || !reaches(waiting->packets, targetUs)) return std::nullopt;
    std::vector<StreamItem> &packets = waiting->packets;
    const auto key = std::find_if(packets.rbegin(), packets.rend(), [targetUs](const StreamItem &item) {
        return (item.packet->flags & AV_PKT_FLAG_KEY) != 0 && item.packet->pts <= targetUs;
    });
    const bool found = key != packets.rend() && isEntry(*key->packet, codec);
    if (mode == SeekMode::kKeyFrame) {
        // A later one at or before the target would have come before what is decoded behind the target.
        const bool proven = std::any_of(packets.begin(), packets.end(), [targetUs](const StreamItem &item) {
            return startOf(*item.packet) > targetUs;
        });
        if (!found || !proven) return std::nullopt;
    }
    if (!found) {
        if (!waiting->decoderCanGoOn(targetUs)) return std::nullopt;
        return KeptPackets{true, waiting->fedUs, std::move(packets)};
    }
    packets.erase(packets.begin(), std::next(key).base());
    return KeptPackets{false, INT64_MIN, std::move(packets)};
}

std::optional<KeptPackets> keepSound(PacketQueue::Content content, int64_t targetUs, SoundRole role) {
    auto waiting = packetsOf(std::move(content));
    if (!waiting) return std::nullopt;
    std::vector<StreamItem> &packets = waiting->packets;
    if (role == SoundRole::kAlone && !reaches(packets, targetUs)) return std::nullopt;
    const int64_t fromUs = targetUs - kSoundRunUpUs;
    if (!packets.empty() && packets.front().packet->pts <= fromUs) {
        std::erase_if(packets, [fromUs](const StreamItem &item) { return endOf(*item.packet) <= fromUs; });
        return KeptPackets{false, INT64_MIN, std::move(packets)};
    }
    if (!waiting->decoderCanGoOn(targetUs)) return std::nullopt;
    return KeptPackets{true, waiting->fedUs, std::move(packets)};
}

}  // namespace oriplayer
