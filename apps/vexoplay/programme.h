#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "base/oriplayer/module.h"
#include "base/oriplayer/play_list.h"
#include "play_list_file.h"

namespace vexoplay {

/// What asking an item for its length and streams has given.
struct ProbeAnswer {
    enum class State { kNotAsked, kAnswered, kFailed, kNoAnswerInTime } state = State::kNotAsked;
    oriplayer::ProbeResult result;

    const oriplayer::ProbedStream *first(oriplayer::ProbedStream::Kind kind) const;
    /// FFmpeg's name of the first picture stream's codec, else of the first sound's; empty if unknown.
    std::string codec() const;
};

struct Item {
    std::string url;
    std::string title;
    int64_t declaredMs = 0;
    ProbeAnswer probe;
};

/// The items in order, their lengths, and where each begins on the programme's scale. It repeats the arithmetic by
/// which the library places a position, so that it can say beforehand in which item a seek lands.
///
/// Threads:  build() while nothing plays; all else any.
/// Lock:     a leaf mutex round lengths, probe answers and replacements. URLs, titles and the number of items do not
/// change.
class Programme {
public:
    enum class Shape { kPeriodEach, kOneMixedPeriod };
    /// Whether the library is to ask for items to be opened ahead.
    enum class Preload { kOff, kOn };
    using Headers = std::vector<std::pair<std::string, std::string>>;

    /// Where a position lies.
    struct Place {
        int item = 0;
        int64_t offsetMs = 0;
        bool lengthUnknown = false;  ///< the item ends nobody knows where: what lies behind it is out of reach
    };

    Programme(std::vector<ListedItem> items, Shape shape);

    /// A play list for the library from what is known now; what was learned while playing counts. `headers` travel
    /// with every request.
    std::shared_ptr<oriplayer::IPlayList> build(const Headers &headers, Preload preload = Preload::kOn);

    /// A period with another source of an item, to take its period's place.
    std::shared_ptr<oriplayer::IPeriod> replacement(int item, const std::string &url, const Headers &headers);

    int size() const { return static_cast<int>(items_.size()); }
    const std::string &url(int item) const { return items_[static_cast<std::size_t>(item)].url; }
    const std::string &title(int item) const { return items_[static_cast<std::size_t>(item)].title; }
    Shape shape() const { return shape_; }
    /// An item's place in the list as periods and sources count it.
    int periodOf(int item) const { return shape_ == Shape::kPeriodEach ? item : 0; }
    int sourceOf(int item) const { return shape_ == Shape::kPeriodEach ? 0 : item; }
    /// The item that a period of the library plays, -1 for a foreign one. Identities have only 8 bits a number; the
    /// source object tells any number of items apart.
    int itemOf(oriplayer::IPeriod &period) const;

    void setProbe(int item, ProbeAnswer answer);
    ProbeAnswer probe(int item) const;

    int64_t lengthMs(int item) const;
    int64_t startMs(int item) const;
    int64_t totalMs() const;
    /// The library's own total is `totalMs` while `playing` plays: only that item's length can have changed.
    void learnTotal(int playing, int64_t totalMs);
    Place placeOf(int64_t positionMs) const;

private:
    int64_t plannedLength(const Item &item) const;

    const Shape shape_;
    mutable std::mutex mutex_;
    std::vector<Item> items_;
    std::vector<int64_t> lengths_;                                                   ///< milliseconds, 0 unknown
    std::vector<std::shared_ptr<oriplayer::ISource>> sources_;                       ///< set by build()
    std::vector<std::pair<std::shared_ptr<oriplayer::ISource>, int>> replacements_;  ///< and the items that they are of
    int64_t total_ = 0;
};

}  // namespace vexoplay
