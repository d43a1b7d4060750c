#include "input/host_route.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace oriplayer {

namespace {

struct Authority {
    std::size_t begin = std::string::npos;
    std::size_t end = std::string::npos;
};

Authority authorityOf(const std::string &url) {
    const std::size_t colon = url.find("://");
    if (colon == std::string::npos) return {};
    const std::size_t begin = colon + 3;
    const std::size_t end = url.find_first_of("/?#", begin);
    return {begin, end == std::string::npos ? url.size() : end};
}

/// Names, addresses and ports; nothing that would end the authority of a URL and begin something else.
bool isHost(std::string_view text) {
    const auto allowed = [](unsigned char c) {
        return std::isalnum(c) || c == '.' || c == '-' || c == '_' || c == ':' || c == '[' || c == ']';
    };
    return !text.empty() && std::all_of(text.begin(), text.end(), allowed);
}

std::vector<std::string> hostsIn(std::string_view domains) {
    std::vector<std::string> hosts;
    while (!domains.empty() && hosts.size() < HostRoute::kMostHosts) {
        const std::size_t comma = std::min(domains.find(','), domains.size());
        std::string_view entry = domains.substr(0, comma);
        domains.remove_prefix(std::min(comma + 1, domains.size()));
        while (!entry.empty() && std::isspace(static_cast<unsigned char>(entry.front()))) entry.remove_prefix(1);
        while (!entry.empty() && std::isspace(static_cast<unsigned char>(entry.back()))) entry.remove_suffix(1);
        if (isHost(entry)) hosts.emplace_back(entry);
    }
    return hosts;
}

}  // namespace

std::string hostOf(const std::string &url) {
    const Authority place = authorityOf(url);
    if (place.begin == std::string::npos) return {};
    const std::string authority = url.substr(place.begin, place.end - place.begin);
    const std::size_t at = authority.rfind('@');
    return at == std::string::npos ? authority : authority.substr(at + 1);
}

void HostRoute::setUrl(const std::string &url) {
    std::lock_guard lock(mutex_);
    url_ = url;
}

std::string HostRoute::url() const {
    std::lock_guard lock(mutex_);
    return url_;
}

int HostRoute::ask() {
    std::lock_guard lock(mutex_);
    askedHost_ = hostOf(url_);
    return ++question_;
}

bool HostRoute::answer(int question, const std::string &domains) {
    std::vector<std::string> hosts = hostsIn(domains);
    std::lock_guard lock(mutex_);
    if (hosts.empty() || question != question_ || askedHost_.empty()) return false;
    hosts_ = std::move(hosts);
    replacedHost_ = askedHost_;
    ++version_;
    return true;
}

std::vector<std::string> HostRoute::alternatives(const std::string &url) const {
    std::lock_guard lock(mutex_);
    std::vector<std::string> urls;
    if (hosts_.empty() || hostOf(url) != replacedHost_) return urls;
    const Authority place = authorityOf(url);
    for (const std::string &host : hosts_) {
        urls.push_back(url.substr(0, place.begin) + host + url.substr(place.end));
    }
    return urls;
}

void HostRoute::prefer(const std::string &alternative) {
    const std::string host = hostOf(alternative);
    std::lock_guard lock(mutex_);
    const auto found = std::find(hosts_.begin(), hosts_.end(), host);
    if (found != hosts_.end()) std::rotate(hosts_.begin(), found, found + 1);
}

}  // namespace oriplayer
