#include "host_configuration.h"

#include <algorithm>
#include <map>
#include <utility>

namespace vexoplay {
namespace {

constexpr char kSystem[] = "system_info";
constexpr char kNetworkType[] = "network_type";
constexpr char kPlay[] = "play_info";

}  // namespace

HostConfiguration::HostConfiguration(std::string wifiDomains, std::string mobileDomains)
    : wifiDomains_(std::move(wifiDomains)), mobileDomains_(std::move(mobileDomains)) {}

std::string HostConfiguration::getConfig(std::string, std::string, std::string defaultValue) {
    return defaultValue;
}

std::string HostConfiguration::getLocalConfig(std::string ns, std::string key, std::string defaultValue) {
    std::lock_guard lock(mutex_);
    return ns == kSystem && key == kNetworkType ? networkType() : defaultValue;
}

void HostConfiguration::addListener(std::string ns, std::string key, protocols::ConfigureListener *listener) {
    std::lock_guard lock(mutex_);
    listeners_.push_back({std::move(ns), std::move(key), listener});
}

void HostConfiguration::removeListener(std::string ns, std::string key, protocols::ConfigureListener *listener) {
    std::lock_guard lock(mutex_);
    const Entry gone{std::move(ns), std::move(key), listener};
    listeners_.erase(std::remove(listeners_.begin(), listeners_.end(), gone), listeners_.end());
}

void HostConfiguration::announceDomains() {
    std::lock_guard lock(mutex_);
    tell(kPlay, "cdn_wifi_domain", wifiDomains_);
    tell(kPlay, "cdn_4g_domain", mobileDomains_);
}

bool HostConfiguration::toggleNetwork() {
    std::lock_guard lock(mutex_);
    wifi_ = !wifi_;
    tell(kSystem, kNetworkType, networkType());
    return wifi_;
}

void HostConfiguration::tell(const std::string &ns, const std::string &key, const std::string &value) {
    const std::vector<Entry> listeners = listeners_;
    for (const Entry &entry : listeners) {
        if (entry.ns == ns && entry.key == key) entry.listener->OnConfigUpdate(ns, {{key, value}});
    }
}

}  // namespace vexoplay
