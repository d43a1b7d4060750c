#include "mixed/random_edits.h"

#include <algorithm>
#include <atomic>
#include <thread>

#include "mixed/player_fixture.h"

namespace vexo {
namespace {

class RandomEdits : public PlayerTest {
protected:
    /// The engine's players are counted from their creation to their stop: the queries may hold a stopped one a moment
    /// longer.
    void countPlayers() {
        running_ = mostRunning_ = 0;
        engine.autoPrepare = true;
        engine.onCall([this](const std::string &entry) {
            if (entry.ends_with(".stop")) --running_;
            if (entry.ends_with(".create")) mostRunning_ = std::max(mostRunning_.load(), ++running_);
        });
    }

    /// What a user interface asks for and sets again and again.
    void queryAndSet() {
        int64_t position = 0;
        player->isPlaying();
        player->isLooping();
        player->getCurrentPosition(&position, 0);
        player->getActivePeriod();
        player->getActiveID();
        player->getVideoWidth();
        player->setListener(std::make_shared<fake::RecordingListener>());
        player->setVolume(0.5F);
        player->setUserAgent("agent");
    }

    std::atomic<int> running_{0};
    std::atomic<int> mostRunning_{0};
};

TEST_F(RandomEdits, OfAPlayingList_LeaveTimelineAndPlayListEqual) {
    for (const unsigned seed : random_edits::seeds()) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        restart();
        countPlayers();
        {
            std::jthread userInterface([this](const std::stop_token &end) {
                while (!end.stop_requested()) queryAndSet();
            });
            random_edits::Editor editor(*player, seed, {{"a", 10'000}, {"b", 7'000}, {"c", 500}}, 0);
            for (int i = 0; i < 1000 && !HasFailure(); ++i) {
                SCOPED_TRACE("edit " + std::to_string(i));
                editor.step();
                editor.checkList();
                if (editor.pick(6) == 0) engine.postLater("p" + std::to_string(engine.created()), 1001);
            }
            for (const int timeline : {0, 1}) editor.checkTimeline(timeline);
        }
        EXPECT_LE(mostRunning_, 2) << "one a timeline";
        player.reset();
        EXPECT_EQ(engine.living(), 0);
    }
}

}  // namespace
}  // namespace vexo
