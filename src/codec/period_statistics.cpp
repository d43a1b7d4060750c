#include "base/oriplayer/player.h"
#include "codec/codec_media_process.h"
#include "codec/info_by_player.h"
#include "timeline/timeline.h"

namespace vexo {

void CodecMediaProcess::AccumulatePeriodStatistics(int playerId) {
    mTotalDownloadBufferSize += infoByPlayer(playerId, PlayerInfo::kDownloadBufferSize);

    // The caller may hold the other timeline's mutex, so this must not take the main one's: it reads the copy.
    const std::shared_ptr<Timeline> main = timeline();
    const std::shared_ptr<oriplayer::IOriPlayer> player = main ? main->GetActivePlayer() : nullptr;
    oriplayer::Param param;
    if (player) player->getParameter(kParamUsedAndConsumed, &param, -1);
    mTotalUsedBufferSize += param.getInt64(-1);
    mTotalConsumeDuration += param.getInt64(-1);

    mTotalCdn += infoByPlayer(playerId, PlayerInfo::kCdn);
    mTotalP2p += infoByPlayer(playerId, PlayerInfo::kP2p);
    mTotalCronetQuic += infoByPlayer(playerId, PlayerInfo::kCronetQuic);
    mTotalCronetHttp += infoByPlayer(playerId, PlayerInfo::kCronetHttp);
    mTotalCurl += infoByPlayer(playerId, PlayerInfo::kCurl);
    mTotalExternalBufferSize += infoByPlayer(playerId, PlayerInfo::kExternalBufferSize);
}

}  // namespace vexo
