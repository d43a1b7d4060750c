#pragma once

#include <map>
#include <string>

namespace protocols {

/// Is told of changed configuration values. Implemented by the library.
class ConfigureListener {
public:
    virtual ~ConfigureListener() = default;
    /// `ns` is "system_info" or "play_info", other namespaces are ignored. `values` holds those of the keys
    /// "network_type", "cdn_wifi_domain" and "cdn_4g_domain" that have changed; an empty value counts as missing.
    /// Thread: any.
    virtual void OnConfigUpdate(std::string ns, std::map<std::string, std::string> values) = 0;
};

/// The application's configuration, given to MixedCodecsPlayer::setConfigure. It tells which network the device is on,
/// and which hosts to download from on each; docs/network.md has the keys and their values, examples/network_change.cpp
/// a whole implementation. Its operations return soon and use no player. Thread: any.
class IConfigure {
public:
    virtual ~IConfigure() = default;
    /// The current value, or `defaultValue`. Asked for "p2p_vod_enable_4G" of "app_initialize".
    virtual std::string getConfig(std::string ns, std::string key, std::string defaultValue) = 0;
    /// As getConfig, for values that belong to this device. Asked for "network_type" of "system_info": "0" is wifi, any
    /// other text a mobile network.
    virtual std::string getLocalConfig(std::string ns, std::string key, std::string defaultValue) = 0;
    /// From now on changes of that key are passed to the listener's OnConfigUpdate. Called for each key of
    /// OnConfigUpdate.
    virtual void addListener(std::string ns, std::string key, ConfigureListener *listener) = 0;
    /// After it returns, no OnConfigUpdate of that key begins for that listener.
    virtual void removeListener(std::string ns, std::string key, ConfigureListener *listener) = 0;
};

}  // namespace protocols
