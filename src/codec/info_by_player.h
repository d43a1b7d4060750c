#pragma once

#include <cstdint>

#include "base/oriplayer/module.h"

namespace vexo {

/// Keys of the engine's information by player id whose answer is one 64-bit number, bytes in each case.
enum class PlayerInfo : int {
    kDownloadBufferSize = 4005,
    kExternalBufferSize = 4008,
    kCdn = 4009,
    kP2p = 4010,
    kCurl = 4014,
    kCronetQuic = 4015,
    kCronetHttp = 4016,
};

/// Engine parameter: bytes decoded or dropped by a seek or a replacement, milliseconds presented.
constexpr int kParamUsedAndConsumed = 1709;

/// The engine's answer, or `none`.
inline int64_t infoByPlayer(int playerId, PlayerInfo key, int64_t none = 0) {
    int64_t value = none;
    oriplayer::getInfoByPlayerId(playerId, static_cast<int>(key), &value);
    return value;
}

}  // namespace vexo
