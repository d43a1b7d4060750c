#include "base/oriplayer/module.h"
#include "module/player_registry.h"
#include "playback/session.h"

namespace oriplayer {
namespace {

enum InfoKey : int {
    kBufferedBytes = 4005,
    kCachedBytes = 4008,
    kNetworkBytes = 4009,
    kPeerBytes = 4010,
    kValue4011 = 4011,
    kValue4012 = 4012,
    kCurlBytes = 4014,
    kQuicBytes = 4015,
    kCronetBytes = 4016,
    kConnectionText = 4026,
};

}  // namespace

int getInfoByPlayerId(int playerId, int key, void *out) {
    const auto session = PlayerRegistry::instance().find(playerId);
    if (!session || !out) return -1;
    const Counters &counters = session->stage().counters;
    switch (key) {
        case kBufferedBytes:
            *static_cast<int64_t *>(out) = counters.mediumBytes;
            return 0;
        case kNetworkBytes:
            *static_cast<int64_t *>(out) = counters.networkBytes;
            return 0;
        case kCachedBytes:
        case kPeerBytes:
        case kCurlBytes:
        case kQuicBytes:
        case kCronetBytes:
            *static_cast<int64_t *>(out) = 0;  // there is no such way for bytes to come
            return 0;
        case kValue4011:
        case kValue4012:
            *static_cast<int32_t *>(out) = 0;
            return 0;
        case kConnectionText:
            return 0;  // the engine has no text on the connection: the caller's pointer stays as it is
        default:
            return -1;
    }
}

int getDownloadStatisticInfo(int playerId, cache_static_t *out) {
    const auto session = PlayerRegistry::instance().find(playerId);
    if (!session || !out) return -1;
    *out = {};
    out->downloadSpeed = session->stage().downloadSpeed.bytesPerSecond(std::chrono::steady_clock::now());
    out->downloadStatus = session->stage().downloading() ? 1 : 0;
    return 0;
}

}  // namespace oriplayer
