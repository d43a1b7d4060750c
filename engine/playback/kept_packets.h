#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "ffmpeg.h"
#include "playback/control.h"
#include "playback/packet_queue.h"

namespace oriplayer {

/// What of one stream's waiting packets stays valid behind a seek, the rest being still to be read where the input
/// stands. Nothing is kept in doubt: times unknown, a target in front of what waits or behind what was read.
struct KeptPackets {
    bool goesOn = false;        ///< the decoder goes on with what it has; else it begins anew with the first packet
    int64_t fedUs = INT64_MIN;  ///< with `goesOn`: end of what it has been fed, at or before the target
    std::vector<StreamItem> packets;
};

/// From the last key frame at or before the target on, or all of them if that one is decoded already. With kKeyFrame
/// the first packet is the key frame to land on.
std::optional<KeptPackets> keepPictures(PacketQueue::Content waiting, int64_t targetUs, SeekMode mode, AVCodecID codec);

enum class SoundRole { kAlone, kBesidePictures };
/// From a little before the target on. Beside pictures it need not have been read up to there.
std::optional<KeptPackets> keepSound(PacketQueue::Content waiting, int64_t targetUs, SoundRole role);

}  // namespace oriplayer
