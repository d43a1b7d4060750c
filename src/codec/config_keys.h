#pragma once

#include <array>

namespace vexo {

// Namespaces and keys of the application's configuration. Headers of periods have the same names for the domains.
constexpr char kPlayInfo[] = "play_info";
constexpr char kSystemInfo[] = "system_info";
constexpr char kAppInitialize[] = "app_initialize";
constexpr char kCdnWifiDomain[] = "cdn_wifi_domain";
constexpr char kCdn4GDomain[] = "cdn_4g_domain";
constexpr char kNetworkType[] = "network_type";
constexpr char kP2pVodEnable4G[] = "p2p_vod_enable_4G";
constexpr char kUseNewHostStrategy[] = "isUseNewHostStrategy";  // a header only

struct ConfigKey {
    const char *ns;
    const char *key;
};

/// The keys for which the network processor registers as a listener.
constexpr std::array kFollowedKeys{
    ConfigKey{kPlayInfo, kCdnWifiDomain},
    ConfigKey{kPlayInfo, kCdn4GDomain},
    ConfigKey{kSystemInfo, kNetworkType},
};

}  // namespace vexo
