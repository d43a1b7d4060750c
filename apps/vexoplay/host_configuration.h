#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "base/protocols/configure.h"

namespace vexoplay {

/// What the host of the library knows of its network: its type, and the hosts to load from on each.
/// Threads:  any. Listeners are called under the lock, so that none is called behind its removal.
class HostConfiguration final : public protocols::IConfigure {
public:
    /// Lists of host[:port] separated by ','; an empty one leaves the hosts as they are.
    HostConfiguration(std::string wifiDomains, std::string mobileDomains);

    std::string getConfig(std::string ns, std::string key, std::string defaultValue) override;
    std::string getLocalConfig(std::string ns, std::string key, std::string defaultValue) override;
    void addListener(std::string ns, std::string key, protocols::ConfigureListener *listener) override;
    void removeListener(std::string ns, std::string key, protocols::ConfigureListener *listener) override;

    /// Tells the hosts to those who listen now: the library does not ask for them.
    void announceDomains();
    /// From wifi, where it begins, to the mobile network or back. True: wifi from now on.
    bool toggleNetwork();

private:
    struct Entry {
        std::string ns;
        std::string key;
        protocols::ConfigureListener *listener;

        bool operator==(const Entry &) const = default;
    };
    void tell(const std::string &ns, const std::string &key, const std::string &value);
    std::string networkType() const { return wifi_ ? "0" : "1"; }

    const std::string wifiDomains_;
    const std::string mobileDomains_;
    std::recursive_mutex mutex_;
    bool wifi_ = true;
    std::vector<Entry> listeners_;
};

}  // namespace vexoplay
