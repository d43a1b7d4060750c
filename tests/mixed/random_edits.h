#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/oriplayer/play_list.h"
#include "mixed/mixed_codecs_player.h"

namespace random_edits {

struct Clip {
    std::string url;
    int64_t durationMs;
};

/// Edits, skips and seeks both timelines of a player at random, and knows what they must hold then.
/// Threads: one; what the seed makes of it differs from run to run by the engine's threads only.
class Editor {
public:
    using PeriodPtr = std::shared_ptr<oriplayer::IPeriod>;

    /// An engine's own figure may differ from a source's declared length by `toleranceMs`.
    Editor(vexo::MixedCodecsPlayer &player, unsigned seed, std::vector<Clip> clips, int64_t toleranceMs)
        : player_(player), random_(seed), clips_(std::move(clips)), toleranceMs_(toleranceMs) {
        auto component = std::make_shared<oriplayer::PlayComponent>();
        component->playList = list_;
        player_.setDataSource({component}, 1, nullptr);
        for (int id : {0, 1, 0, 1, 0, 1}) insert(id);
        play(0);
    }

    /// One edit or command. What has ended or lost its last period begins again.
    void step() {
        const int id = pick(3) == 0 ? 1 : 0;
        const int what = pick(10);  // 9 is the engine's turn
        if (what < 2) held(id).size() < 8 ? insert(id) : remove(id);
        if (what == 2) replace(id);
        if (what == 3) remove(id);
        if (what == 4) player_.goNext(coin());
        if (what == 5) player_.seekTo(pick(static_cast<int>(length(id)) + 1000), pick(2));
        if (what == 6) player_.seekCurrentPeriodTo(pick(30'000), pick(2));
        if (what == 7) coin() ? play(id) : static_cast<void>(player_.start(id));
        if (what == 8) coin() ? player_.pause() : player_.start(player_.getActiveIndex());
        if (!player_.getActivePeriod()) play(0);
    }

    /// The caller's play list holds period by period what the edits have made.
    void checkList() {
        ASSERT_EQ(list_->getPeriodCount(), static_cast<int>(held_[0].size()));
        for (std::size_t i = 0; i < held_[0].size(); ++i) {
            ASSERT_EQ(list_->getPeriod(static_cast<int>(i)), held_[0][i]) << "period " << i;
        }
    }

    /// So does the timeline, from its first period to its last and no further. An end that still waits in a queue may
    /// move it on behind our back, hence some tries; where it holds something else, all of them fail.
    void checkTimeline(int id) {
        while (held(id).empty()) insert(id);
        bool equal = false;
        for (int i = 0; i < 50 && !equal; ++i) equal = walk(id);
        EXPECT_TRUE(equal) << "timeline " << id;
    }

    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }

private:
    bool coin() { return pick(2) == 0; }
    const Clip &anyClip() { return clips_[static_cast<std::size_t>(pick(static_cast<int>(clips_.size())))]; }

    /// Whole or mixed, one to three sources; now and then a mixed one of none, which takes no place.
    PeriodPtr make() {
        auto period = oriplayer::IPeriod::create();
        const bool mixed = coin();
        const bool nothing = mixed && pick(8) == 0;
        Clip clip = anyClip();
        for (int i = nothing ? 0 : 1 + pick(3); i > 0; --i) {
            if (mixed) clip = anyClip();
            period->addSource(
                oriplayer::ISource::create(clip.url.c_str(), static_cast<double>(clip.durationMs) / 1000.0));
        }
        period->setMixedCodecs(mixed);
        return period;
    }
    std::vector<PeriodPtr> &held(int id) { return held_[static_cast<std::size_t>(id)]; }
    void insert(int id) {
        auto &periods = held(id);
        const int position = pick(static_cast<int>(periods.size()) + 2) - 1;
        const PeriodPtr period = make();
        player_.addPeriod(id, position, period, nullptr);
        if (period->getSourceCount() > 0)
            periods.insert(position < 0 ? periods.end() : periods.begin() + position, period);
    }
    void replace(int id) {
        auto &periods = held(id);
        const int index = pick(static_cast<int>(periods.size()) + 1);  // also one too far
        const PeriodPtr period = make();
        player_.changePeriod(id, index, period, nullptr);
        if (static_cast<std::size_t>(index) == periods.size()) return;
        periods[static_cast<std::size_t>(index)] = period;
        if (period->getSourceCount() == 0) periods.erase(periods.begin() + index);
    }
    void remove(int id) {
        auto &periods = held(id);
        const int index = pick(static_cast<int>(periods.size()) + 1);
        player_.delPeriod(id, index);
        if (static_cast<std::size_t>(index) < periods.size()) periods.erase(periods.begin() + index);
    }
    void play(int id) {
        player_.prepareAsync(id);
        player_.start(id);
    }

    /// From the first period to the last, and no further.
    bool walk(int id) {
        play(0);
        if (id == 1) play(1);
        int64_t duration = -1;
        player_.getDuration(&duration);
        int64_t tolerance = 0;
        for (const PeriodPtr &period : held(id)) tolerance += toleranceMs_ * period->getSourceCount();
        if (std::abs(duration - length(id)) > tolerance) return false;
        for (const PeriodPtr &period : held(id)) {
            const PeriodPtr played = player_.getActivePeriod();
            if (player_.getActiveIndex() != id || !played || played->getSource(0) != period->getSource(0)) return false;
            if (period != held(id).back()) player_.goNext(false);
        }
        const int result = player_.goNext(false);  // behind the isolated timeline's last period the main one goes on
        return id == 0 ? result == -1 : player_.getActiveIndex() == 0;
    }

    static int64_t length(oriplayer::ISource &source) {
        double seconds = 0.0;
        source.getDuration(0, &seconds);
        return static_cast<int64_t>(seconds * 1000.0);
    }
    static int64_t length(oriplayer::IPeriod &period) {
        int64_t total = 0;
        for (int i = 0; i < period.getSourceCount(); ++i) total += length(*period.getSource(i));
        return total;
    }
    int64_t length(int id) {
        int64_t total = 0;
        for (const PeriodPtr &period : held(id)) total += length(*period);
        return total;
    }

    vexo::MixedCodecsPlayer &player_;
    std::mt19937 random_;
    const std::vector<Clip> clips_;
    const int64_t toleranceMs_;
    const std::shared_ptr<oriplayer::IPlayList> list_ = oriplayer::IPlayList::create();
    std::array<std::vector<PeriodPtr>, 2> held_;  ///< of each timeline
};

/// Two seeds that stay and a fresh one, which is printed.
inline std::array<unsigned, 3> seeds() {
    const unsigned fresh = std::random_device()();
    std::printf("fresh seed of the random edits: %u\n", fresh);
    std::fflush(stdout);
    return {1, 20'240'229, fresh};
}

}  // namespace random_edits
