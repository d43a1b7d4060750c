#include <utility>

#include "base/log.h"
#include "base/oriplayer/play_list.h"
#include "mixed/mixed_codecs_player.h"
#include "timeline/timeline.h"

namespace vexo {

int MixedCodecsPlayer::setDataSource(const std::vector<std::shared_ptr<oriplayer::PlayComponent>> &components, int,
                                     const std::shared_ptr<oriplayer::StringMap> &) {
    VEXO_PRINT(LOG_INFO, "enter");
    std::shared_ptr<oriplayer::PlayComponent> component = components.empty() ? nullptr : components[0];
    std::shared_ptr<oriplayer::IPlayList> list;
    if (component) {
        MutexLock lock(fields_mutex_);
        list = component->playList;  // a copy, because stop() empties the component if it is this player's own
    }
    const uint64_t number = ++source_number_;
    if (!list) {
        empty(nullptr);
        return 0;
    }
    const int size = list->getPeriodCount();
    const auto period = [&list, size](int i) {
        auto found = i < size ? list->getPeriod(i) : nullptr;
        if (i < size) VEXO_PRINT(LOG_DEBUG, "add period inner:%d", i);
        return found;
    };
    const auto take = [&] {
        MutexLock lock(fields_mutex_);
        component->playList.swap(list);  // the list contains the periods already
        play_components_[0].swap(component);
    };
    // If two threads set sources at the same time, the later source plays, without periods of the other. A stop on
    // another thread counts as earlier, so it is repeated here.
    bool taken = false;
    while (!taken) {
        // Read before the number is compared. If a later call sets its source after that, its content has other numbers
        // and is not emptied here.
        const Content present = content();
        if (source_number_ != number) return 0;
        const auto epoch = empty(&present);
        VEXO_PRINT(LOG_DEBUG, "playlist size:%d", size);
        taken = epoch && timelines_[0]->Fill(period, *epoch, take);
    }
    return 0;
}

int MixedCodecsPlayer::addPeriod(int id, int position, const std::shared_ptr<oriplayer::IPeriod> &period,
                                 const std::shared_ptr<oriplayer::StringMap> &options) {
    VEXO_PRINT(LOG_INFO, "enter");
    addPeriodInner(period, id, position, options);
    return 0;
}

void MixedCodecsPlayer::addPeriodInner(const std::shared_ptr<oriplayer::IPeriod> &period, int id, int position,
                                       const std::shared_ptr<oriplayer::StringMap> &options) {
    if (!period) {
        VEXO_PRINT(LOG_ERROR, "no period to add to timeline %d", id);
        return;
    }
    bool taken = false;
    accessTimeline(id, [&](Timeline *timeline) {
        const int before = timeline->GetPeriodCount();
        if (before == 0) forgetStalePeriods(id);
        if (position == -1) {
            timeline->AddBound(period, options);
        } else {
            timeline->InsertBound(period, options, position);
        }
        taken = timeline->GetPeriodCount() != before;
    });
    if (taken) makePlayListOf(id)->addPeriod(period, position);
}

int MixedCodecsPlayer::addSource(int id, int position, const std::shared_ptr<oriplayer::ISource> &source,
                                 const std::shared_ptr<oriplayer::StringMap> &options) {
    return accessTimeline(id, [&](Timeline *timeline) { timeline->InsertSource(source, options, position); });
}

int MixedCodecsPlayer::changePeriod(int id, int index, const std::shared_ptr<oriplayer::IPeriod> &period,
                                    const std::shared_ptr<oriplayer::StringMap> &options) {
    VEXO_PRINT(LOG_INFO, "enter");
    if (!period) {
        VEXO_PRINT(LOG_ERROR, "no period to replace period %d of timeline %d", index, id);
        return -1;
    }
    bool gone = false;
    bool ended = false;
    const uint64_t mainEpoch = timelines_[0]->GetEpoch();
    const int result = accessTimeline(id, [&](Timeline *timeline) {
        const std::shared_ptr<oriplayer::StringMap> own = period->getHeaders();
        const int before = timeline->GetPeriodCount();
        ended = timeline->ReplaceBound(period, own ? own : options, index);
        gone = timeline->GetPeriodCount() < before;
    });
    if (const auto list = playListOf(id)) {
        // A mixed-codecs period without a playable source only removes the old period.
        gone ? list->removePeriod(index) : list->replacePeriod(period, index);
    }
    if (ended) playbackEnded(id, mainEpoch);
    return result;
}

int MixedCodecsPlayer::delPeriod(int id, int index) {
    VEXO_PRINT(LOG_INFO, "enter");
    bool ended = false;
    const uint64_t mainEpoch = timelines_[0]->GetEpoch();
    const int result = accessTimeline(id, [&](Timeline *timeline) { ended = timeline->RemoveBound(index); });
    if (const auto list = playListOf(id)) list->removePeriod(index);
    if (ended) playbackEnded(id, mainEpoch);
    return result;
}

int MixedCodecsPlayer::clearPeriods(int id) {
    VEXO_PRINT(LOG_INFO, "enter");
    bool ended = false;
    const uint64_t mainEpoch = timelines_[0]->GetEpoch();
    const int result = accessTimeline(id, [&](Timeline *timeline) {
        const auto list = playListOf(id);
        const int count = list ? list->getPeriodCount() : 0;
        for (int i = 0; i < count; ++i) {
            if (timeline->RemoveBound(0)) ended = true;
            list->removePeriod(0);
        }
    });
    if (ended) playbackEnded(id, mainEpoch);
    return result;
}

/// An edit has removed the last period of timeline `id` while it played. The isolated timeline will then have no end
/// that hands control back, so this does it.
void MixedCodecsPlayer::playbackEnded(int id, uint64_t mainEpoch) {
    if (id == 1) resumeMain(mainEpoch);
}

/// After stop(id, flag) the play list still contains periods that the timeline has lost. They must not mix with new
/// ones.
void MixedCodecsPlayer::forgetStalePeriods(int id) {
    const auto list = playListOf(id);
    if (list && list->getPeriodCount() > 0) setPlayListOf(id, oriplayer::IPlayList::create());
}

std::shared_ptr<oriplayer::IPlayList> MixedCodecsPlayer::playListOf(int id) {
    if (id != 0 && id != 1) return nullptr;
    MutexLock lock(fields_mutex_);
    return play_components_[static_cast<std::size_t>(id)]->playList;
}

std::shared_ptr<oriplayer::IPlayList> MixedCodecsPlayer::makePlayListOf(int id) {
    if (auto list = playListOf(id)) return list;
    auto list = oriplayer::IPlayList::create();
    setPlayListOf(id, list);
    return list;
}

void MixedCodecsPlayer::setPlayListOf(int id, std::shared_ptr<oriplayer::IPlayList> list) {
    MutexLock lock(fields_mutex_);
    play_components_[static_cast<std::size_t>(id)]->playList.swap(list);
}

/// Called after a Reset that has begun the content `epoch`. Drops the play list, unless the timeline has been filled or
/// reset again since.
void MixedCodecsPlayer::dropPlayListOf(int id, std::optional<uint64_t> epoch) {
    const auto &timeline = timelines_[static_cast<std::size_t>(id)];
    timeline->AccessCurrentBound([&](PlayBound *) {
        if (epoch == timeline->GetEpoch() && timeline->GetPeriodCount() == 0) setPlayListOf(id, nullptr);
    });
}

}  // namespace vexo
