#include "programme.h"

#include <algorithm>

namespace vexoplay {
namespace {

// Stands in for a length that cannot be known, where an empty one would bar the way: a seek never gets past an item
// of length 0, and a mixed-codecs period does not begin in one.
constexpr int64_t kNominalMs = 1;

// The library cuts seconds * 1000.0 to whole milliseconds; half a millisecond keeps 5.039 s from becoming 5038 ms.
double secondsOf(int64_t ms) {
    return ms > 0 ? (static_cast<double>(ms) + 0.5) / 1000.0 : 0.0;
}

std::shared_ptr<oriplayer::StringMap> mapOf(const Programme::Headers &headers) {
    auto map = std::make_shared<oriplayer::StringMap>();
    for (const auto &[name, value] : headers) map->add(("http_header:" + name).c_str(), value.c_str());
    return map;
}

}  // namespace

const oriplayer::ProbedStream *ProbeAnswer::first(oriplayer::ProbedStream::Kind kind) const {
    for (const oriplayer::ProbedStream &stream : result.streams) {
        if (stream.kind == kind) return &stream;
    }
    return nullptr;
}

std::string ProbeAnswer::codec() const {
    using Kind = oriplayer::ProbedStream::Kind;
    const oriplayer::ProbedStream *stream = first(Kind::kVideo);
    if (!stream) stream = first(Kind::kAudio);
    return stream ? stream->codec : std::string();
}

Programme::Programme(std::vector<ListedItem> items, Shape shape) : shape_(shape), lengths_(items.size(), 0) {
    for (ListedItem &listed : items) {
        items_.push_back({std::move(listed.url), std::move(listed.title), listed.declaredMs, {}});
    }
}

int64_t Programme::plannedLength(const Item &item) const {
    using State = ProbeAnswer::State;
    if (item.probe.state == State::kAnswered && item.probe.result.durationMs > 0) return item.probe.result.durationMs;
    if (item.probe.state == State::kFailed) return kNominalMs;
    const bool live = item.probe.state == State::kAnswered && item.probe.result.live;
    if (item.declaredMs > 0 && !live) return item.declaredMs;
    return shape_ == Shape::kOneMixedPeriod ? kNominalMs : 0;
}

std::shared_ptr<oriplayer::IPlayList> Programme::build(const Headers &headers, Preload preload) {
    const auto map = mapOf(headers);
    auto list = oriplayer::IPlayList::create();
    std::lock_guard lock(mutex_);
    sources_.clear();
    replacements_.clear();
    total_ = 0;
    std::shared_ptr<oriplayer::IPeriod> period;
    for (std::size_t i = 0; i < items_.size(); ++i) {
        if (lengths_[i] <= kNominalMs) lengths_[i] = plannedLength(items_[i]);
        total_ += lengths_[i];
        sources_.push_back(oriplayer::ISource::create(items_[i].url.c_str(), secondsOf(lengths_[i])));
        if (!period || shape_ == Shape::kPeriodEach) {
            period = oriplayer::IPeriod::create();
            period->setHeaders(map);
            period->setSourceKind(1);
            period->setPreloadMask(preload == Preload::kOn ? 1 : 0);
            period->setMixedCodecs(shape_ == Shape::kOneMixedPeriod);
            if (shape_ == Shape::kPeriodEach) list->addPeriod(period, -1);
        }
        period->addSource(sources_.back());
    }
    if (shape_ == Shape::kOneMixedPeriod && period) list->addPeriod(period, -1);
    return list;
}

int Programme::itemOf(oriplayer::IPeriod &period) const {
    const std::shared_ptr<oriplayer::ISource> source = period.getSource(0);
    const auto found = std::find(sources_.begin(), sources_.end(), source);
    if (source && found != sources_.end()) return static_cast<int>(found - sources_.begin());
    std::lock_guard lock(mutex_);
    for (const auto &[other, item] : replacements_) {
        if (source && other == source) return item;
    }
    return -1;
}

std::shared_ptr<oriplayer::IPeriod> Programme::replacement(int item, const std::string &url, const Headers &headers) {
    const auto period = oriplayer::IPeriod::create();
    period->setHeaders(mapOf(headers));
    period->setSourceKind(1);
    std::lock_guard lock(mutex_);
    auto source = oriplayer::ISource::create(url.c_str(), secondsOf(lengths_[static_cast<std::size_t>(item)]));
    period->addSource(source);
    replacements_.emplace_back(std::move(source), item);
    return period;
}

void Programme::setProbe(int item, ProbeAnswer answer) {
    std::lock_guard lock(mutex_);
    items_[static_cast<std::size_t>(item)].probe = std::move(answer);
}

ProbeAnswer Programme::probe(int item) const {
    std::lock_guard lock(mutex_);
    return items_[static_cast<std::size_t>(item)].probe;
}

int64_t Programme::lengthMs(int item) const {
    std::lock_guard lock(mutex_);
    return lengths_[static_cast<std::size_t>(item)];
}

int64_t Programme::startMs(int item) const {
    std::lock_guard lock(mutex_);
    int64_t start = 0;
    for (int i = 0; i < item; ++i) start += lengths_[static_cast<std::size_t>(i)];
    return start;
}

int64_t Programme::totalMs() const {
    std::lock_guard lock(mutex_);
    return total_;
}

void Programme::learnTotal(int playing, int64_t totalMs) {
    std::lock_guard lock(mutex_);
    int64_t &length = lengths_[static_cast<std::size_t>(playing)];
    const int64_t learned = length + totalMs - total_;
    if (learned < 0) return;
    length = learned;
    total_ = totalMs;
}

Programme::Place Programme::placeOf(int64_t positionMs) const {
    std::lock_guard lock(mutex_);
    int64_t base = 0;
    for (std::size_t i = 0; i < lengths_.size(); ++i) {
        if (lengths_[i] == 0) return {static_cast<int>(i), positionMs - base, true};
        if (base + lengths_[i] >= positionMs) return {static_cast<int>(i), positionMs - base, false};
        base += lengths_[i];
    }
    const int last = static_cast<int>(lengths_.size()) - 1;
    return {last, last < 0 ? 0 : lengths_.back(), false};
}

}  // namespace vexoplay
