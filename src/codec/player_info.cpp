// Information on a playback as text, key by key; the full record is in player_record.cpp.
#include <cstdlib>
#include <memory>

#include "base/log.h"
#include "base/oriplayer/module.h"
#include "base/oriplayer/player.h"
#include "codec/codec_media_process.h"
#include "codec/download_reading.h"
#include "codec/info_by_player.h"
#include "codec/media_keys.h"
#include "codec/report_text.h"
#include "timeline/timeline.h"

namespace vexo {
namespace {

using oriplayer::IOriPlayer;
using oriplayer::Param;

/// Asks under `key` and has `read` make a text of the answer; without a player or an answer `none`.
template <typename Read> std::string ask(IOriPlayer *player, int key, const char *none, const Read &read) {
    Param param;
    return player && player->getParameter(key, &param, -1) == 0 ? read(param) : none;
}

std::string monitor(IOriPlayer *player) {
    constexpr int kParamMonitor = 4003;
    const std::string text = ask(player, kParamMonitor, "", [](const Param &param) {
        const char *monitored = param.getCString(-1);
        return std::string("bufferMonitor=") + (monitored ? monitored : "");
    });
    VEXO_PRINT(LOG_INFO, "KVPLAYER_INFO_KEY_GET_PLAYER_MONITOR_INFO = %s", text.c_str());
    return text;
}

std::string gear(IOriPlayer *player) {
    constexpr int kParamGear = 3904;
    const std::string text =
        ask(player, kParamGear, "", [](const Param &param) { return std::to_string(param.getInt32(-1)); });
    VEXO_PRINT(LOG_INFO, "KVPLAYER_INFO_KEY_HLS_ABR_GEAR_INFO = %s", text.c_str());
    return text;
}

std::string networkBytes(IOriPlayer *player) {
    constexpr int kParamNetworkBytes = 1707;
    return ask(player, kParamNetworkBytes, "0", [](const Param &param) { return std::to_string(param.getInt64(-1)); });
}

std::string downloadBits(IOriPlayer *player) {
    const auto reading = readDownload(player);
    return reading ? std::to_string(wholeNumber(reading->bytesPerSecond * 8.0)) : "0";
}

std::string tcpInfo(IOriPlayer *player) {
    constexpr int kTcpInfo = 4026;
    char *text = nullptr;
    oriplayer::getInfoByPlayerId(player ? player->getPlayerId() : 0, kTcpInfo, &text);
    const std::unique_ptr<char, void (*)(void *)> owned(text, &std::free);  // the engine allocates, the caller frees
    const std::string result =
        text ? text : "tcpi_rtt=-1&tcpi_rttvar=-1&tcpi_lost=-1&tcpi_retrans=-1&dl_type=-1&timestamp=0";
    VEXO_PRINT(LOG_INFO, "TarvoPlayer::getPlayerInfoByKey tcp_info:%s", result.c_str());
    return result;
}

}  // namespace

std::string CodecMediaProcess::getPlayerInfoByKey(int key) {
    VEXO_PRINT(LOG_DEBUG, "%s enter, key:%d", "CodecMediaProcess::getPlayerInfoByKey", key);
    const auto player = activePlayer();
    switch (key) {
        case KVPLAYER_INFO_KEY_ALL:
            return playerRecord(player.get());
        case kInfoDownloadedBytes:
            return std::to_string(mTotalDownloadBufferSize + activeInfo(PlayerInfo::kDownloadBufferSize, 0));
        case kInfoUsedBytes:
            return usedBytes(player.get());
        case kInfoStoredBytes:
            return storedBytes();
        case kInfoBufferAdaptation:
            return bufferAdaptation();
        case kInfoBytesByTransport:
            return bytesByTransport();
        case kInfoMonitor:
        case KVPLAYER_INFO_KEY_GET_PLAYER_MONITOR_INFO:
            return monitor(player.get());
        case KVPLAYER_INFO_KEY_HLS_ABR_GEAR_INFO:
            return gear(player.get());
        case kInfoDownloadBits:
        case kInfoDownloadSpeed:
            return downloadBits(player.get());
        case kInfoNetworkBytes:
            return networkBytes(player.get());
        case kInfoTcp:
            return tcpInfo(player.get());
        default:
            return {};
    }
}

/// The engine's answer for the player of the timeline's current bound, or `none`.
int64_t CodecMediaProcess::activeInfo(PlayerInfo key, int64_t none) const {
    const auto main = timeline();
    return main ? infoByPlayer(main->GetActiveId(), key, none) : none;
}

std::string CodecMediaProcess::usedBytes(IOriPlayer *player) const {
    Param param;
    if (player) player->getParameter(kParamUsedAndConsumed, &param, -1);
    return std::to_string(mTotalUsedBufferSize + param.getInt64(-1));
}

std::string CodecMediaProcess::storedBytes() const {
    const int64_t bytes = activeInfo(PlayerInfo::kExternalBufferSize, 0);
    VEXO_PRINT(LOG_INFO, "Total Storage cached data size: %lld", static_cast<long long>(bytes));
    return std::to_string(bytes);
}

std::string CodecMediaProcess::bufferAdaptation() const {
    ReportText text(';');
    text.put("bufferAdaptiveChangeCnt=", mBufferAdaptiveChangeCnt);
    text.put("curTargetBuffer=", mCurTargetBuffer);
    std::string result = text.str();
    VEXO_PRINT(LOG_INFO, "Total buffer adaptive Info: %s", result.c_str());
    return result;
}

std::string CodecMediaProcess::bytesByTransport() const {
    std::string text = classifiedSizes();
    text.pop_back();  // nothing stands behind the last number
    VEXO_PRINT(LOG_INFO, "Classified download size: %s", text.c_str());
    return text;
}

/// Bytes by transport, those of the current player plus the totals, `label=value;` for each.
std::string CodecMediaProcess::classifiedSizes() const {
    ReportText text(';');
    text.put("cdn=", activeInfo(PlayerInfo::kCdn, 0) + mTotalCdn);
    text.put("p2p=", activeInfo(PlayerInfo::kP2p, 0) + mTotalP2p);
    text.put("curl=", activeInfo(PlayerInfo::kCurl, 0) + mTotalCurl);
    text.put("cronet_quic=", activeInfo(PlayerInfo::kCronetQuic, 0) + mTotalCronetQuic);
    text.put("cronet_http=", activeInfo(PlayerInfo::kCronetHttp, 0) + mTotalCronetHttp);
    return text.str();
}

std::string CodecMediaProcess::buffSched() const {
    MutexLock lock(mStateLock);
    return mBuffSched;
}

}  // namespace vexo
