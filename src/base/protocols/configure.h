#pragma once

#include <map>
#include <string>

namespace protocols {

/// Receives changed configuration values. The library implements it.
class ConfigureListener {
public:
    virtual ~ConfigureListener() = default;
    /// Applies new values of the keys "network_type", "cdn_wifi_domain" and "cdn_4g_domain". `values` needs to contain
    /// only the keys that have changed; an empty value counts as missing. `ns` is "system_info" or "play_info"; other
    /// namespaces are ignored. Thread: any.
    virtual void OnConfigUpdate(std::string ns, std::map<std::string, std::string> values) = 0;
};

/// The application's configuration, for MixedCodecsPlayer::setConfigure. The application implements it to provide the
/// type of the present network and the hosts to download from on each type. docs/network.md describes the keys and
/// values; examples/network_change.cpp is a complete implementation.
///
/// Threads: the library calls the operations on any thread. They must return soon and must not call a player.
class IConfigure {
public:
    virtual ~IConfigure() = default;
    /// Returns the value of `key` in the namespace `ns`, or `defaultValue` if it has none. The library reads
    /// "p2p_vod_enable_4G" of "app_initialize".
    virtual std::string getConfig(std::string ns, std::string key, std::string defaultValue) = 0;
    /// Like getConfig, for values that belong to this device. The library reads "network_type" of "system_info": "0"
    /// is wifi, any other text is a mobile network.
    virtual std::string getLocalConfig(std::string ns, std::string key, std::string defaultValue) = 0;
    /// Registers `listener`: each later change of `key` is passed to its OnConfigUpdate. The library calls this once
    /// for each key of OnConfigUpdate. `listener` stays valid until removeListener has returned for all of them.
    virtual void addListener(std::string ns, std::string key, ConfigureListener *listener) = 0;
    /// After this returns, no OnConfigUpdate of `listener` for `key` begins; one that has begun may still run.
    virtual void removeListener(std::string ns, std::string key, ConfigureListener *listener) = 0;
};

}  // namespace protocols
