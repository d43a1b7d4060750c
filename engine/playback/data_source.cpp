#include "playback/data_source.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "playlist/known_duration.h"

namespace oriplayer {
namespace {

constexpr std::string_view kRequestHeader = "http_header:";

int64_t toUs(double seconds) {
    const bool usable = std::isfinite(seconds) && seconds > 0.0 && seconds < 1e9;
    return usable ? static_cast<int64_t>(std::llround(seconds * 1e6)) : 0;
}

std::shared_ptr<IPeriod> firstPeriod(const std::vector<std::shared_ptr<PlayComponent>> &components) {
    if (components.empty() || !components[0] || !components[0]->playList) return nullptr;
    return components[0]->playList->getPeriod(0);
}

// Appends the pairs of a map, the last one first, because of equal keys the pair that was added last counts.
void collect(const StringMap *given, std::vector<std::pair<std::string, std::string>> &pairs) {
    if (!given) return;
    const StringMap map(*given);  // a copy, because the application may clear the map
    for (int i = map.size() - 1; i >= 0; --i) pairs.emplace_back(map.keyAt(i), map.valueAt(i));
}

}  // namespace

DataSource::DataSource(const std::vector<std::shared_ptr<PlayComponent>> &components, const StringMap *headers)
    : DataSource(firstPeriod(components), headers) {}

DataSource::DataSource(std::shared_ptr<IPeriod> period, const StringMap *headers) : period_(std::move(period)) {
    collect(headers, pairs_);
    if (!period_) return;
    const auto own = period_->getHeaders();
    collect(own.get(), pairs_);
}

bool DataSource::refusesSurface() const {
    return headerOr("no_need_surface", "") == "1";
}

int64_t DataSource::startMs() const {
    return period_ ? std::max<int64_t>(0, period_->getStartTime()) : 0;
}

const std::string *DataSource::header(const std::string &key) const {
    const auto found = std::find_if(pairs_.begin(), pairs_.end(), [&](const Pair &pair) { return pair.first == key; });
    return found == pairs_.end() ? nullptr : &found->second;
}

std::string DataSource::headerOr(const std::string &key, const char *fallback) const {
    const std::string *value = header(key);
    return value && !value->empty() ? *value : fallback;
}

// A live source of type 3 has no URL. Its address is built from the headers.
std::string DataSource::resolve(const std::string &url) const {
    if (!url.empty() || headerOr("datasource_live_type", "") != "3") return url;
    const std::string server = headerOr("qzrtp_download_ip", headerOr("qzrtp_download_host", "").c_str());
    if (server.empty()) return {};
    const std::string token = headerOr("qzrtp_download_token", "");
    return "http://" + server + ":" + headerOr("qzrtp_download_httpport", "80") + "/" +
           headerOr("qzrtp_download_stream_id", "") + (token.empty() ? "" : "?token=" + token);
}

std::string DataSource::emptyOptions() const {
    if (headerOr("datasource_live_type", "") != "3") return {};
    std::string names;
    for (const auto &[key, value] : pairs_) {
        if (value.empty() && key.starts_with("qzrtp_")) names += (names.empty() ? "" : ", ") + key;
    }
    return names.empty() ? names : "; empty options: " + names;
}

Programme::Item DataSource::itemOf(ISource &source) const {
    std::string url;
    source.getUrl(0, url);
    return {resolve(url), toUs(knownDuration(source).value_or(0.0))};
}

std::vector<Programme::Item> DataSource::itemsOf(const std::vector<std::shared_ptr<ISource>> &sources) const {
    std::vector<Programme::Item> items;
    for (const auto &source : sources) items.push_back(itemOf(*source));
    return items;
}

int64_t DataSource::askLength(ISource &source) {
    double seconds = 0.0;
    source.getDuration(0, &seconds);
    return toUs(seconds);
}

std::vector<std::shared_ptr<ISource>> DataSource::sources() const {
    std::vector<std::shared_ptr<ISource>> sources;
    const int count = period_ ? period_->getSourceCount() : 0;
    for (int i = 0; i < count; ++i) {
        if (auto source = period_->getSource(i)) sources.push_back(std::move(source));
    }
    return sources;
}

InputOptions DataSource::inputOptions(const Properties &properties, std::string userAgent) const {
    InputOptions options = optionsOf(properties, std::move(userAgent));
    options.headers = requestHeaders();
    options.expectHls = headerOr("qzrtp_enable_playlist", "") == "1";
    return options;
}

InputOptions DataSource::optionsOf(const Properties &properties, std::string userAgent) {
    InputOptions options;
    options.userAgent = std::move(userAgent);
    options.caFile = properties.caFile;
    options.timeoutMs = properties.networkTimeoutMs;
    options.wantVideo = !properties.pictureOff;
    options.wantAudio = !properties.soundOff;
    options.audioTrack = properties.audioTrack;
    return options;
}

std::vector<DataSource::Pair> DataSource::requestHeaders() const {
    std::vector<Pair> result;
    const auto add = [&result](std::string name, const std::string &value) {
        const bool known =
            std::any_of(result.begin(), result.end(), [&](const Pair &pair) { return pair.first == name; });
        if (!name.empty() && !known) result.emplace_back(std::move(name), value);
    };
    for (const auto &[key, value] : pairs_) {
        if (key.starts_with(kRequestHeader)) add(key.substr(kRequestHeader.size()), value);
    }
    // If the URL has an address instead of a name, the server still needs the name of the host.
    if (headerOr("datasource_live_type", "") == "3" && header("qzrtp_download_ip")) {
        if (const std::string *host = header("qzrtp_download_host")) add("Host", *host);
    }
    return result;
}

}  // namespace oriplayer
