// Adding periods to a timeline: how they become bounds.
#include <iterator>
#include <utility>

#include "base/clock.h"
#include "base/log.h"
#include "base/oriplayer/module.h"
#include "timeline/milliseconds.h"
#include "timeline/timeline.h"

namespace vexo {

namespace {

constexpr int64_t kPreloadKib = 8192;  // 8 MiB per source: a few seconds at a high bit rate

double SecondsOf(oriplayer::ISource &source) {
    double seconds = 0.0;
    source.getDuration(0, &seconds);
    return seconds;
}

template <typename List> void MakeRoom(List &list, std::size_t added) {
    const std::size_t size = list.size() + added;
    if (list.capacity() < size) list.reserve(2 * size);
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
        const int64_t duration = MillisecondsOf(SecondsOf(*source));
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
    return headers ? std::make_shared<oriplayer::StringMap>(*headers) : std::make_shared<oriplayer::StringMap>();
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

bool Timeline::Fill(const std::function<PeriodPtr(int)> &periodAt, uint64_t epoch,
                    const std::function<void()> &filled) {
    std::vector<NewPeriod> measured;
    for (int i = 0; const PeriodPtr period = periodAt(i); ++i) {
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
    Place(Cut(fresh, index, ","), index, all_bounds_.size());
    last_add_time_ = static_cast<int64_t>(GetCurrentTimeMs());
    return index;
}

// Makes the bounds of a period without adding them to the lists. If the period is cut into its sources, its start time
// becomes an offset into the source that contains it.
Timeline::BoundList Timeline::Cut(const NewPeriod &fresh, int32_t index, const char *comma) {
    BoundList bounds;
    const auto add = [&](const PeriodPtr &period, int64_t duration) {
        auto bound = CreateBound(period, fresh.headers);
        bound->mixed_codecs = fresh.mixed;
        bound->duration = duration;
        bound->period_index = index;
        bounds.push_back(std::move(bound));
        NotifyBoundChanged(bounds.back().get());
    };
    if (!fresh.mixed) {
        add(fresh.period, fresh.duration);
        return bounds;
    }
    int64_t remaining = fresh.period->getStartTime();
    for (const NewPeriod::Part &part : fresh.parts) {
        VEXO_PRINT(LOG_DEBUG, "add source :%p", static_cast<void *>(part.source.get()));
        const PeriodPtr period = oriplayer::IPeriod::create();
        VEXO_PRINT(LOG_DEBUG, "start time:%lld for %d%s duration:%lld", static_cast<long long>(remaining),
                   static_cast<int>(bounds.size()), comma, static_cast<long long>(part.duration));
        const bool starts_here = remaining >= 0 && remaining < part.duration;
        CopyPeriodOptions(fresh.period, period, starts_here ? remaining : -1);
        remaining = SubtractTimes(remaining, part.duration);
        period->addSource(part.source);
        add(period, part.duration);
    }
    return bounds;
}

// Inserts a period's bounds into all_bounds_ at `place` and the first of them into period_bounds_ at `index`. Returns
// the first bound, or null if there is none. If it throws, nothing has changed; after a matching Reserve it does not
// throw.
PlayBound *Timeline::Place(BoundList bounds, int32_t index, std::size_t place) {
    if (bounds.empty()) return nullptr;
    Reserve(bounds.size());
    PlayBound *first = bounds.front().get();
    const auto offset = static_cast<BoundList::difference_type>(place);
    durations_.insert(durations_.begin() + offset, bounds.size(), 0);
    for (std::size_t i = 0; i < bounds.size(); ++i) durations_[place + i] = bounds[i]->duration;
    all_bounds_.insert(all_bounds_.begin() + offset, std::make_move_iterator(bounds.begin()),
                       std::make_move_iterator(bounds.end()));
    period_bounds_.insert(period_bounds_.begin() + index, first);
    return first;
}

void Timeline::Reserve(std::size_t bounds) {
    MakeRoom(all_bounds_, bounds);
    MakeRoom(durations_, bounds);
    MakeRoom(period_bounds_, 1);
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
        // The total is rounded down after each source, so that of many sources it is a few milliseconds too short.
        total = WholeOf(static_cast<double>(total) + SecondsOf(*source) * 1000.0).value_or(total);
        VEXO_PRINT(LOG_DEBUG, "add bound duration:%lld", static_cast<long long>(total));
    }
    return total;
}

void Timeline::InsertSource(const std::shared_ptr<oriplayer::ISource> &source, const HeadersPtr &headers, int index) {
    if (!source) {
        VEXO_PRINT(LOG_ERROR, "source is null");
        return;
    }
    {
        MutexLock lock(mutex_);
        if (!TakesSources(index)) return;
    }
    const int64_t duration = MillisecondsOf(SecondsOf(*source));  // without the mutex, because it may read a file
    MutexLock lock(mutex_);
    if (!TakesSources(index)) return;
    PlayBound *bound = period_bounds_[static_cast<std::size_t>(index)];
    if (const PlayerPtr player = CurrentPlayer()) {
        bound = Current();
        player->addSource(0, source, headers);
    } else {
        bound->period->addSource(source);
    }
    SetDuration(bound, AddTimes(bound->duration, duration));
}

bool Timeline::TakesSources(int index) const {
    if (!HasPeriod(index)) return false;
    const PlayBound *bound = period_bounds_[static_cast<std::size_t>(index)];
    if (bound && bound->period && !bound->mixed_codecs && !bound->period->isMixedCodecs()) return true;
    VEXO_PRINT(LOG_ERROR, "can not add source to mixed codecs Period, abort. index:%d", index);
    return false;
}

}  // namespace vexo
