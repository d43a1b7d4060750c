#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/oriplayer/period.h"
#include "base/oriplayer/play_component.h"
#include "base/oriplayer/string_map.h"
#include "input/source_input.h"
#include "module/properties.h"
#include "playback/programme.h"

namespace oriplayer {

/// What setDataSource or changePeriod was given: the first component's first period, with its headers. The map of
/// setDataSource is asked first, then the period's own, as it was at setDataSource.
///
/// Request headers of network sources are pairs whose key is "http_header:" and a name, e.g. "http_header:Referer";
/// of equal names the one asked first counts. The user agent is set by setUserAgent alone.
///
/// Threads: set once before the player's threads run, then read only.
class DataSource {
public:
    DataSource(const std::vector<std::shared_ptr<PlayComponent>> &components, const StringMap *headers);
    DataSource(std::shared_ptr<IPeriod> period, const StringMap *headers);

    /// Empty if there was no period.
    const std::shared_ptr<IPeriod> &period() const { return period_; }
    int64_t startMs() const;
    /// For the text of an error: the options of a source without a URL that were given without a value, as "; empty
    /// options: name, name", or nothing. An option of a type that has no text arrives empty.
    std::string emptyOptions() const;
    /// Its pictures are not for a window surface.
    bool refusesSurface() const;
    /// The period's sources at this moment.
    std::vector<std::shared_ptr<ISource>> sources() const;
    /// A source's first URL, live URLs built, and its length as far as that is known without looking into a file.
    Programme::Item itemOf(ISource &source) const;
    std::vector<Programme::Item> itemsOf(const std::vector<std::shared_ptr<ISource>> &sources) const;
    /// A source's declared length, microseconds, or 0; it may look into a local file.
    static int64_t askLength(ISource &source);
    InputOptions inputOptions(const Properties &properties, std::string userAgent) const;
    /// The same for a source without headers.
    static InputOptions optionsOf(const Properties &properties, std::string userAgent);

private:
    using Pair = std::pair<std::string, std::string>;

    /// Null if neither map has it.
    const std::string *header(const std::string &key) const;
    std::string headerOr(const std::string &key, const char *fallback) const;
    std::string resolve(const std::string &url) const;
    std::vector<Pair> requestHeaders() const;

    std::shared_ptr<IPeriod> period_;
    std::vector<Pair> pairs_;  ///< the one asked first comes first
};

}  // namespace oriplayer
