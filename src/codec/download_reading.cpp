#include "codec/download_reading.h"

#include <algorithm>
#include <limits>

#include "base/log.h"
#include "base/oriplayer/module.h"
#include "base/oriplayer/player.h"
#include "codec/codec_net_process.h"

namespace vexo {

std::optional<DownloadReading> readDownload(oriplayer::IOriPlayer *player) {
    oriplayer::cache_static_t record{};
    if (player && oriplayer::getDownloadStatisticInfo(player->getPlayerId(), &record) == 0) {
        return DownloadReading{record.downloadSpeed, record.downloadStatus};
    }
    VEXO_PRINT(LOG_INFO, "TarvoPlayer::onNetworkSpeedUpdateEvent get null instance_info");
    return std::nullopt;
}

int wholeNumber(double value) {
    if (!(value > 0.0)) return 0;  // what is no number counts as 0 too
    return static_cast<int>(std::min(value, static_cast<double>(std::numeric_limits<int>::max())));
}

int CodecNetProcess::OndownloadSpeedUpdate(Para &para) {
    const auto player = activePlayer();
    if (!player) return -1;
    const std::optional<DownloadReading> reading = readDownload(player.get());
    if (!reading || reading->status <= 0) return 0;
    VEXO_PRINT(LOG_VERBOSE,
               "CodecNetProcess::onNetworkSpeedUpdateEvent send MEDIA_INFO_NETWORK_SPEED_UPDATE speed %f, status %d",
               reading->bytesPerSecond, reading->status);
    para.what = MEDIA_INFO_NETWORK_SPEED_UPDATE;
    para.arg1 = wholeNumber(reading->bytesPerSecond / 1000.0);
    para.text = "download_status=" + std::to_string(reading->status);
    return 0;
}

}  // namespace vexo
