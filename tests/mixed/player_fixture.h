#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/oriplayer/play_list.h"
#include "fake/recording_listener.h"
#include "fake/scripted_engine.h"
#include "mixed/mixed_codecs_player.h"

namespace vexo {

using oriplayer::IPeriod;
using oriplayer::IPlayList;
using oriplayer::ISource;
using oriplayer::PlayComponent;
using oriplayer::StringMap;

/// A player over the scripted engine, and verbs to drive it. Engine players are p1, p2, ... in order of creation.
class PlayerTest : public testing::Test {
protected:
    void SetUp() override {
        engine.reset();
        player = MixedCodecsPlayer::create();
        player->setListener(listener);
    }

    void TearDown() override {
        player.reset();
        engine.reset();
    }

    /// For the next row of a table: another player with another listener, engine players from p1 again.
    void restart() {
        TearDown();
        listener = std::make_shared<fake::RecordingListener>();
        SetUp();
    }

    static std::shared_ptr<IPeriod> period(const std::vector<std::string> &urls, bool mixed = false) {
        auto period = IPeriod::create();
        for (const std::string &url : urls) period->addSource(ISource::create(url.c_str(), 10.0));
        period->setMixedCodecs(mixed);
        return period;
    }

    static std::shared_ptr<PlayComponent> component(const std::vector<std::string> &urls) {
        auto component = std::make_shared<PlayComponent>();
        component->playList = IPlayList::create();
        for (const std::string &url : urls) component->playList->addPeriod(period({url}), -1);
        return component;
    }

    int load(std::shared_ptr<PlayComponent> component) { return player->setDataSource({component}, 1, nullptr); }

    int64_t duration() {
        int64_t duration = -1;
        player->getDuration(&duration);
        return duration;
    }

    /// Loads, prepares and starts the main timeline; its first engine player is p1.
    void playMain(const std::vector<std::string> &urls) {
        load(component(urls));
        player->prepareAsync();
        prepared("p1");
        player->start();
    }

    /// Lets a prepared isolated timeline take over; its engine player is p2 behind playMain().
    void takeOver(const std::vector<std::shared_ptr<IPeriod>> &periods) {
        for (const auto &period : periods) player->addPeriod(1, -1, period, nullptr);
        player->prepareAsync(1);
        prepared("p2");
        player->start(1);
        ASSERT_EQ(player->getActiveIndex(), 1);
        log();
    }
    /// A main timeline of one period stands paused, an isolated one plays.
    void interrupt(const std::vector<std::shared_ptr<IPeriod>> &periods) {
        playMain({"a"});
        takeOver(periods);
    }

    /// The engine says that a player is prepared, and the timeline has reacted.
    void prepared(const std::string &name) {
        const int before = listener->count(1000);
        ASSERT_TRUE(engine.post(name, 1000));
        ASSERT_TRUE(listener->waitFor(1000, before + 1));
    }

    void ends(const std::string &name) { ASSERT_TRUE(engine.post(name, 1001)); }

    bool waitForCall(const std::string &entry) { return engine.waitForCall(entry); }

    std::string log() { return engine.takeLog(); }

    /// Without the player's destruction: the thread that posts its last event may hold it a little longer.
    std::string logBut(const std::string &destruction) {
        std::string calls = log();
        const std::size_t at = calls.find(" " + destruction);
        return at == std::string::npos ? calls : calls.erase(at, destruction.size() + 1);
    }

    fake::ScriptedEngine &engine = fake::ScriptedEngine::instance();
    std::shared_ptr<fake::RecordingListener> listener = std::make_shared<fake::RecordingListener>();
    std::shared_ptr<MixedCodecsPlayer> player;
};

}  // namespace vexo
