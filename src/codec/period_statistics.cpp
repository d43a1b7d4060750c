#include "base/oriplayer/module.h"
#include "base/oriplayer/player.h"
#include "codec/codec_media_process.h"
#include "timeline/timeline.h"

namespace vexo {
namespace {

enum PlayerInfo : int {
    kDownloadBufferSize = 4005,
    kExternalBufferSize = 4008,
    kCdn = 4009,
    kP2p = 4010,
    kCurl = 4014,
    kCronetQuic = 4015,
    kCronetHttp = 4016,
};

constexpr int kKeyUsedAndConsumed = 1709;  // two numbers: bytes used, milliseconds played

int64_t info(int playerId, PlayerInfo key) {
    int64_t value = 0;
    oriplayer::getInfoByPlayerId(playerId, key, &value);
    return value;
}

}  // namespace

void CodecMediaProcess::AccumulatePeriodStatistics(int playerId) {
    mTotalDownloadBufferSize += info(playerId, kDownloadBufferSize);

    // The timeline whose mutex is held here may be the other one: the player comes from the copy.
    const std::shared_ptr<Timeline> main = timeline();
    const std::shared_ptr<oriplayer::IOriPlayer> player = main ? main->PeekActivePlayer() : nullptr;
    oriplayer::Param param;
    if (player) player->getParameter(kKeyUsedAndConsumed, &param, -1);
    mTotalUsedBufferSize += param.getInt64(-1);
    mTotalConsumeDuration += param.getInt64(-1);

    mTotalCdn += info(playerId, kCdn);
    mTotalP2p += info(playerId, kP2p);
    mTotalCronetQuic += info(playerId, kCronetQuic);
    mTotalCronetHttp += info(playerId, kCronetHttp);
    mTotalCurl += info(playerId, kCurl);
    mTotalExternalBufferSize += info(playerId, kExternalBufferSize);
}

}  // namespace vexo
