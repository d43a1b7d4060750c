#pragma once

namespace vexo {

/// Property types of CodecMediaProcess::SetPlaybackParam that have a name; playback_params.cpp lists all of them.
enum PlaybackProperty : int {
    KVPLAYER_PROPERTY_TYPE_PLAYER_BATCH_PRELOAD_LIST = 523,
    KVPLAYER_PROPERTY_TYPE_PLAYER_BATCH_CANCEL_LIST = 524,
    KVPLAYER_PROPERTY_TYPE_UPSCOST = 963,
};

/// Keys of CodecMediaProcess::getPlayerInfoByKey. Bytes and times are the figures of the current bound's engine player
/// plus totals. When a bound is entered, the engine's figures of that moment are added to the totals. A new engine
/// player has none yet, so in practice only the start of an interruption adds something: the figures of the main bound.
enum PlayerInfoKey : int {
    KVPLAYER_INFO_KEY_ALL = -1,  ///< the full record, `label=value;` for each
    kInfoDownloadedBytes = 0,
    kInfoUsedBytes = 1,
    kInfoStoredBytes = 5,  ///< without a total
    kInfoBufferAdaptation = 6,
    kInfoBytesByTransport = 7,                       ///< `label=value` joined by ";"
    kInfoMonitor = 8,                                ///< equal to key 10
    KVPLAYER_INFO_KEY_HLS_ABR_GEAR_INFO = 9,         ///< the HLS variant that plays; empty if there is none
    KVPLAYER_INFO_KEY_GET_PLAYER_MONITOR_INFO = 10,  ///< "bufferMonitor=" and the engine's text
    kInfoDownloadBits = 11,                          ///< bits per second, equal to key 14
    kInfoNetworkBytes = 12,
    kInfoTcp = 13,  ///< `label=value` joined by "&"
    kInfoDownloadSpeed = 14,
};

}  // namespace vexo
