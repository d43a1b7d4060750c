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

/// The argument of setDataSource or changePeriod: the first period of the first component, with its headers. Options
/// are looked up in the map of setDataSource first, then in the period's own map, both as they were at the call.
///
/// Request headers of network sources are pairs whose key is "http_header:" and a name, e.g. "http_header:Referer";
/// of equal names the first one found counts. Only setUserAgent sets the user agent.
///
/// Threads: set once before the player's threads run, then read-only.
class DataSource {
public:
    DataSource(const std::vector<std::shared_ptr<PlayComponent>> &components, const StringMap *headers);
    DataSource(std::shared_ptr<IPeriod> period, const StringMap *headers);

    /// Empty if there was no period.
    const std::shared_ptr<IPeriod> &period() const { return period_; }
    int64_t startMs() const;
    /// The end of an error text: "; empty options: name, name" if the address of the source is built from options and
    /// some of them are empty, otherwise nothing. An option of a type that cannot be converted to text is empty.
    std::string emptyOptions() const;
    /// True if pictures of this source must not go to a window surface.
    bool refusesSurface() const;
    /// The period's sources at this moment.
    std::vector<std::shared_ptr<ISource>> sources() const;
    /// The first URL of a source, or one built from the options, and its length if that is known without opening a
    /// file.
    Programme::Item itemOf(ISource &source) const;
    std::vector<Programme::Item> itemsOf(const std::vector<std::shared_ptr<ISource>> &sources) const;
    /// The declared length of a source in microseconds, or 0; a local file without one may be opened.
    static int64_t askLength(ISource &source);
    InputOptions inputOptions(const Properties &properties, std::string userAgent) const;
    /// The input options of a source without headers.
    static InputOptions optionsOf(const Properties &properties, std::string userAgent);

private:
    using Pair = std::pair<std::string, std::string>;

    /// Null if neither map has it.
    const std::string *header(const std::string &key) const;
    std::string headerOr(const std::string &key, const char *fallback) const;
    std::string resolve(const std::string &url) const;
    std::vector<Pair> requestHeaders() const;

    std::shared_ptr<IPeriod> period_;
    std::vector<Pair> pairs_;  ///< in the order in which they are looked up
};

}  // namespace oriplayer
