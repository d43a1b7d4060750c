// Filling a timeline: from periods to bounds.
#include <iterator>
#include <utility>

#include "base/clock.h"
#include "base/log.h"
#include "base/oriplayer/module.h"
#include "timeline/timeline.h"

namespace vexo {

namespace {

constexpr int64_t kPreloadKib = 8192;  // 8 MiB a source, what a few seconds of high bit rate take

double SecondsOf(oriplayer::ISource &source) {
    double seconds = 0.0;
    source.getDuration(0, &seconds);
    return seconds;
}

}  // namespace

Timeline::NewPeriod Timeline::Measure(const PeriodPtr &period, HeadersPtr headers) {
    NewPeriod fresh{period, std::move(headers), period->isMixedCodecs(), 0, {}};
    if (!fresh.mixed) {
        fresh.duration = GetTotalDuration(period);
        return fresh;
    }
    for (int i = 0; i < period->getSourceCount(); ++i) {
        auto source = period->getSource(i);
        if (!source) break;
        const auto duration = static_cast<int64_t>(SecondsOf(*source) * 1000.0);
        fresh.parts.push_back({std::move(source), duration});
    }
    return fresh;
}

std::unique_ptr<PlayBound> Timeline::CreateBound(const PeriodPtr &period, const HeadersPtr &headers) {
    auto bound = std::make_unique<PlayBound>();
    bound->period = period;
    bound->headers = CloneHeaders(headers);
    return bound;
}

Timeline::HeadersPtr Timeline::CloneHeaders(const HeadersPtr &headers) {
    auto clone = std::make_shared<oriplayer::StringMap>();
    for (int i = 0, size = headers ? headers->size() : 0; i < size; ++i) {
        clone->add(headers->keyAt(i), headers->valueAt(i));
    }
    return clone;
}

void Timeline::CopyPeriodOptions(const PeriodPtr &from, const PeriodPtr &to, int64_t start) {
    if (!from || !to) return;
    to->setHeaders(CloneHeaders(from->getHeaders()));
    to->setPeriodTag(from->getPeriodTag());
    to->setStartTime(start);
    to->setPeriodFlag(from->getPeriodFlag());
    to->setSourceKind(from->getSourceKind());
    to->setChangeMode(from->getChangeMode());
    to->setPeriodValue(from->getPeriodValue());
    to->setPreloadMask(from->getPreloadMask());
}

int32_t Timeline::AddBound(const PeriodPtr &period, HeadersPtr headers) {
    if (!period) {
        VEXO_PRINT(LOG_ERROR, "period is null");
        MutexLock lock(mutex_);
        return static_cast<int32_t>(period_bounds_.size());
    }
    VEXO_PRINT(LOG_DEBUG, "period mixed_codecs:%d", period->isMixedCodecs() ? 1 : 0);
    const NewPeriod fresh = Measure(period, std::move(headers));
    MutexLock lock(mutex_);
    return Append(fresh);
}

bool Timeline::Fill(const std::vector<PeriodPtr> &periods, uint64_t epoch, const std::function<void()> &filled) {
    std::vector<NewPeriod> measured;
    measured.reserve(periods.size());
    for (const PeriodPtr &period : periods) {
        VEXO_PRINT(LOG_DEBUG, "period mixed_codecs:%d", period->isMixedCodecs() ? 1 : 0);
        measured.push_back(Measure(period, period->getHeaders()));
    }
    MutexLock lock(mutex_);
    if (epoch != epoch_) return false;
    if (!all_bounds_.empty()) Clear();
    try {
        for (const NewPeriod &fresh : measured) Append(fresh);
    } catch (...) {
        Clear();
        throw;
    }
    filled();
    return true;
}

int32_t Timeline::Append(const NewPeriod &fresh) {
    const auto index = static_cast<int32_t>(period_bounds_.size());
    if (PlayBound *first = Place(fresh, index, all_bounds_.size(), ",")) period_bounds_.push_back(first);
    last_add_time_ = static_cast<int64_t>(GetCurrentTimeMs());
    return index;
}

// Puts the period's bounds into all_bounds_ at `place` and returns the first, or null if the period yields none. A
// start time of a period that is cut goes to the one source that contains it, as an offset into that source.
PlayBound *Timeline::Place(const NewPeriod &fresh, int32_t index, std::size_t place, const char *comma) {
    if (!fresh.mixed) return PlaceBound(CreateBound(fresh.period, fresh.headers), fresh.duration, index, place);
    PlayBound *first = nullptr;
    int64_t remaining = fresh.period->getStartTime();
    int32_t i = 0;
    for (const NewPeriod::Part &part : fresh.parts) {
        VEXO_PRINT(LOG_DEBUG, "add source :%p", static_cast<void *>(part.source.get()));
        const PeriodPtr period = oriplayer::IPeriod::create();
        VEXO_PRINT(LOG_DEBUG, "start time:%lld for %d%s duration:%lld", static_cast<long long>(remaining), i, comma,
                   static_cast<long long>(part.duration));
        const bool starts_here = remaining >= 0 && remaining < part.duration;
        CopyPeriodOptions(fresh.period, period, starts_here ? remaining : -1);
        remaining -= part.duration;
        period->addSource(part.source);
        auto bound = CreateBound(period, fresh.headers);
        bound->mixed_codecs = true;
        PlayBound *placed = PlaceBound(std::move(bound), part.duration, index, place + static_cast<std::size_t>(i));
        if (!first) first = placed;
        ++i;
    }
    return first;
}

PlayBound *Timeline::PlaceBound(std::unique_ptr<PlayBound> bound, int64_t duration, int32_t index, std::size_t place) {
    bound->duration = duration;
    bound->period_index = index;
    const std::size_t size = all_bounds_.size() + 1;
    if (all_bounds_.capacity() < size) all_bounds_.reserve(2 * size);  // so that only the first insert can throw
    const auto offset = static_cast<BoundList::difference_type>(place);
    durations_.insert(durations_.begin() + offset, duration);
    const auto position = all_bounds_.begin() + offset;
    PlayBound *placed = all_bounds_.insert(position, std::move(bound))->get();
    NotifyBoundChanged(placed);
    return placed;
}

void Timeline::SetDuration(PlayBound *bound, int64_t duration) {
    bound->duration = duration;
    const std::size_t place = PlaceOf(bound);
    if (place < durations_.size()) durations_[place] = duration;  // a removed bound has no place
}

void Timeline::NotifyBoundChanged(PlayBound *bound) {
    if (!bound || !bound->period || (bound->period->getPreloadMask() & 1) == 0) return;
    for (int i = 0; i < bound->period->getSourceCount(); ++i) {
        const auto source = bound->period->getSource(i);
        if (!source) break;
        if (const char *url = source->getUrl(0)) {
            VEXO_PRINT(LOG_DEBUG, "source preload url:%s", url);
            oriplayer::addPreloadTask(url, kPreloadKib);
        }
    }
}

int64_t Timeline::GetTotalDuration(const PeriodPtr &period) {
    int64_t total = 0;
    for (int i = 0; period && i < period->getSourceCount(); ++i) {
        const auto source = period->getSource(i);
        if (!source) break;
        total = static_cast<int64_t>(static_cast<double>(total) + SecondsOf(*source) * 1000.0);
        VEXO_PRINT(LOG_DEBUG, "add bound duration:%lld", static_cast<long long>(total));
    }
    return total;
}

void Timeline::InsertSource(const std::shared_ptr<oriplayer::ISource> &source, const HeadersPtr &headers, int index) {
    if (!source) {
        VEXO_PRINT(LOG_ERROR, "source is null");
        return;
    }
    const auto duration = static_cast<int64_t>(SecondsOf(*source) * 1000.0);  // without the mutex: it may read a file
    MutexLock lock(mutex_);
    if (!HasPeriod(index)) return;
    PlayBound *bound = period_bounds_[static_cast<std::size_t>(index)];
    if (!bound || !bound->period || bound->mixed_codecs || bound->period->isMixedCodecs()) {
        VEXO_PRINT(LOG_ERROR, "can not add source to mixed codecs Period, abort. index:%d", index);
        return;
    }
    if (const PlayerPtr player = CurrentPlayer()) {
        SetDuration(Current(), Current()->duration + duration);
        player->addSource(0, source, headers);
    } else {
        SetDuration(bound, bound->duration + duration);
        bound->period->addSource(source);
    }
}

}  // namespace vexo
