#pragma once

#include <map>
#include <string>

namespace protocols {

/// Hears of changed configuration values, on the thread the host chooses.
class ConfigureListener {
public:
    virtual ~ConfigureListener() = default;
    virtual void OnConfigUpdate(std::string ns, std::map<std::string, std::string> values) = 0;
};

/// The host application's configuration. Its operations return soon and use no player.
/// Behind removeListener no further OnConfigUpdate of that key begins for that listener.
class IConfigure {
public:
    virtual ~IConfigure() = default;
    /// The current value, or `defaultValue`.
    virtual std::string getConfig(std::string ns, std::string key, std::string defaultValue) = 0;
    /// The same for values that the host keeps locally.
    virtual std::string getLocalConfig(std::string ns, std::string key, std::string defaultValue) = 0;
    virtual void addListener(std::string ns, std::string key, ConfigureListener *listener) = 0;
    virtual void removeListener(std::string ns, std::string key, ConfigureListener *listener) = 0;
};

}  // namespace protocols
