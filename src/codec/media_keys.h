#pragma once

namespace vexo {

/// Property types of CodecMediaProcess::SetPlaybackParam that have a name; all stand in playback_params.cpp.
enum PlaybackProperty : int {
    KVPLAYER_PROPERTY_TYPE_PLAYER_BATCH_PRELOAD_LIST = 523,
    KVPLAYER_PROPERTY_TYPE_PLAYER_BATCH_CANCEL_LIST = 524,
    KVPLAYER_PROPERTY_TYPE_UPSCOST = 963,
};

/// What CodecMediaProcess::getPlayerInfoByKey answers. Bytes and times are those of the engine player of the current
/// bound, plus totals to which each entry into a bound adds what the engine answers at that moment. A new engine player
/// answers 0, so the totals grow only when an interruption begins, which adds figures of the main bound.
enum PlayerInfoKey : int {
    KVPLAYER_INFO_KEY_ALL = -1,  ///< the full record, `label=value;` for each
    kInfoDownloadedBytes = 0,
    kInfoUsedBytes = 1,
    kInfoStoredBytes = 5,  ///< without a total
    kInfoBufferAdaptation = 6,
    kInfoBytesByTransport = 7,                       ///< `label=value` joined by ";"
    kInfoMonitor = 8,                                ///< the same as 10
    KVPLAYER_INFO_KEY_HLS_ABR_GEAR_INFO = 9,         ///< variant that plays; empty where there is none
    KVPLAYER_INFO_KEY_GET_PLAYER_MONITOR_INFO = 10,  ///< "bufferMonitor=" and the engine's text
    kInfoDownloadBits = 11,                          ///< bits a second, the same as 14
    kInfoNetworkBytes = 12,
    kInfoTcp = 13,  ///< `label=value` joined by "&"
    kInfoDownloadSpeed = 14,
};

}  // namespace vexo
