#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "fake/recording_listener.h"
#include "fake/scripted_engine.h"
#include "timeline/timeline.h"

namespace vexo {

struct TestSource {
    const char *url;
    double seconds;
};

inline std::shared_ptr<oriplayer::IPeriod> MakePeriod(const std::vector<TestSource> &sources, int64_t start = 0) {
    auto period = oriplayer::IPeriod::create();
    for (const TestSource &source : sources) period->addSource(oriplayer::ISource::create(source.url, source.seconds));
    period->setStartTime(start);
    return period;
}

inline std::shared_ptr<oriplayer::IPeriod> MakeMixed(const std::vector<TestSource> &sources, int64_t start = 0) {
    auto period = MakePeriod(sources, start);
    period->setMixedCodecs(true);
    return period;
}

/// A timeline on the scripted engine, with verbs. Periods added by Add are named by their URL.
class TimelineFixture : public ::testing::Test {
protected:
    TimelineFixture() {
        engine_.reset();
        timeline_ = std::make_unique<Timeline>(0);
        timeline_->SetListener(listener_);
    }
    ~TimelineFixture() override {
        timeline_.reset();
        EXPECT_EQ(engine_.living(), 0) << "a player outlived its timeline";
        engine_.reset();
    }

    /// For the next row of a table: no periods, no log, and players are counted from p1.
    void StartAnew() {
        timeline_->Reset();
        engine_.reset();
        listener_->takeEvents();
    }
    void Add(const char *url, double seconds = 10.0, int64_t start = 0) {
        timeline_->AddBound(MakePeriod({{url, seconds}}, start), nullptr);
    }
    void AddThree() {
        for (const char *url : {"a", "b", "c"}) Add(url);
    }
    void AddMixed(const std::vector<TestSource> &sources, int64_t start = 0) {
        timeline_->AddBound(MakeMixed(sources, start), nullptr);
    }

    /// The engine player says it, and the timeline has heard, told and reacted when this returns.
    void Tell(const std::string &player, int what) {
        const int before = listener_->count(what);
        ASSERT_TRUE(engine_.post(player, what)) << player << " is silent";
        ASSERT_TRUE(listener_->waitFor(what, before + 1));
        Settle();
    }
    /// The same, and what the engine heard of the reaction and before.
    std::string CallsBehind(const std::string &player, int what) {
        Tell(player, what);
        return Calls();
    }
    /// Waits until the event that is being handled has been reacted to.
    void Settle() {
        const int before = listener_->count(kBarrier);
        timeline_->PostMessage_(0, kBarrier, 0, 0, oriplayer::Param());
        ASSERT_TRUE(listener_->waitFor(kBarrier, before + 1));
    }
    /// Prepared, started and playing in the first bound that has a start time.
    void PlayFirst() {
        timeline_->Prepare();
        Tell("p1", kEventPrepared);
        timeline_->Start();
        Forget();
    }
    /// The same in the first of three periods.
    void PlayThree() {
        AddThree();
        PlayFirst();
    }
    void Forget() {
        engine_.takeLog();
        listener_->takeEvents();
    }

    std::string Calls() { return engine_.takeLog(); }
    std::string Events() {
        std::istringstream entries(listener_->takeEvents());
        std::string events;
        for (std::string entry; entries >> entry;) {
            if (entry.rfind(std::to_string(kBarrier), 0) != 0) events += (events.empty() ? "" : " ") + entry;
        }
        return events;
    }
    /// URLs of the current bound's sources, "none" without a bound.
    std::string CurrentUrl() {
        std::string url = "none";
        timeline_->AccessCurrentBound([&](PlayBound *bound) {
            if (bound) bound->period->getSource(0)->getUrl(0, url);
        });
        return url;
    }

    static constexpr int kBarrier = 424242;

    fake::ScriptedEngine &engine_ = fake::ScriptedEngine::instance();
    std::shared_ptr<fake::RecordingListener> listener_ = std::make_shared<fake::RecordingListener>();
    std::unique_ptr<Timeline> timeline_;
};

/// What entering a bound looks like in the engine's log, without settings.
inline std::string Entered(const std::string &player, const std::string &url) {
    const std::string p = player + ".";
    return p + "create " + p + "setListener " + p + "setDataSource(" + url + ") " + p + "prepareAsync";
}
inline std::string Left(const std::string &player) {
    return player + ".stop " + player + ".destroy";
}

}  // namespace vexo
