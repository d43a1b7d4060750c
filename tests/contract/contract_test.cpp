#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>

#include "base/oriplayer/module.h"
#include "base/oriplayer/player.h"
#include "contract/subject.h"

namespace contract {
namespace {

using namespace oriplayer;

/// Counts the events that matter to a timeline.
class Listener final : public IOriPlayerListener {
public:
    void notify(long long, int number, int, int, const Param &) override {
        if (number != 1000 && number != 1017 && number != 1001) return;
        const std::lock_guard lock(mutex_);
        told_ += (told_.empty() ? "" : " ") + std::to_string(number);
        changed_.notify_all();
    }
    void notify(int, int, int, const std::string &, const std::string &) override {}
    bool waitFor(const std::string &told) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return told_ == told; });
    }
    std::string told() {
        const std::lock_guard lock(mutex_);
        return told_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::string told_;
};

struct Contract : testing::Test {
    std::shared_ptr<IOriPlayer> playerOf(const std::string &url) {
        auto player = IOriPlayer::create();
        player->setListener(listener);
        auto component = std::make_shared<PlayComponent>();
        component->playList = IPlayList::create();
        auto period = IPeriod::create();
        period->addSource(ISource::create(url.c_str(), 0.0));
        component->playList->addPeriod(period, -1);
        player->setDataSource({component}, 1, nullptr);
        return player;
    }

    Subject subject;
    std::shared_ptr<Listener> listener = std::make_shared<Listener>();
};

TEST_F(Contract, IdsAreUniqueAndNeverUsedAgain) {
    std::set<int> ids;
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(ids.insert(IOriPlayer::create()->getPlayerId()).second);
    EXPECT_GT(*ids.begin(), 0);
}

TEST_F(Contract, BeforePreparedQueriesAnswerNothingYet_LoopingIsKept) {
    const auto player = IOriPlayer::create();
    int64_t position = -1, duration = -1;
    player->getCurrentPosition(&position, 0);
    player->getDuration(&duration);
    EXPECT_EQ(position, 0);
    EXPECT_EQ(duration, 0);
    EXPECT_EQ(player->getVideoWidth() + player->getVideoHeight(), 0);
    EXPECT_FALSE(player->isPlaying());
    for (const bool looping : {true, false}) {
        player->setLooping(looping);
        EXPECT_EQ(player->isLooping(), looping);
    }
}

TEST_F(Contract, SettersOfTheTimelineAnswerZero_FreeSlotsMinusOne) {
    const auto player = IOriPlayer::create();
    for (int number : {2001, 2009, 2100, 2330, 2360, 3200, 3300, 3600, 4100, 4213, 1991}) {
        Param value;
        value.putInt32(0);
        EXPECT_EQ(player->setParameter(number, value, -1), 0) << number;
    }
    Param volume;
    volume.putFloat(0.5F);
    EXPECT_EQ(player->setParameter(3004, volume, -1), 0);
    Param unknown;
    EXPECT_EQ(player->getParameter(99'999, &unknown, -1), -1);
    EXPECT_EQ(player->reserved2(), -1);
    EXPECT_EQ(player->reserved29(), -1);
}

TEST_F(Contract, FreeFunctionsRefuseWhatIsNotThere) {
    EXPECT_EQ(addPreloadTask(nullptr, 8192), -1);
    EXPECT_EQ(addPreloadTask("", 8192), -1);
    const int dead = IOriPlayer::create()->getPlayerId();
    int64_t bytes = 77;
    EXPECT_EQ(getInfoByPlayerId(dead, 4005, &bytes), -1);
    EXPECT_EQ(bytes, 77);
    cache_static_t record, before;
    std::memset(&record, 7, sizeof record);
    std::memcpy(&before, &record, sizeof record);
    EXPECT_EQ(getDownloadStatisticInfo(dead, &record), -1);
    EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
}

TEST_F(Contract, PreparedThenFirstPictureThenEnd_EachOnce) {
    const auto player = playerOf(subject.url());
    EXPECT_EQ(listener->told(), "") << "nothing is said before prepareAsync";
    player->prepareAsync();
    ASSERT_TRUE(listener->waitFor("1000")) << listener->told();
    EXPECT_EQ(player->start(), 0);
    subject.play();
    EXPECT_TRUE(listener->waitFor("1000 1017 1001")) << listener->told();
    player->stop(true);
}

TEST_F(Contract, StopSilences_AndMayBeSaidTwice) {
    const auto player = playerOf(subject.url());
    player->prepareAsync();
    player->start();
    player->stop(true);
    const std::string told = listener->told();
    subject.play();
    player->stop(true);
    EXPECT_FALSE(player->isPlaying());
    EXPECT_EQ(listener->told(), told);
}

TEST_F(Contract, ADetachedListenerHearsNothing) {
    const auto player = playerOf(subject.url());
    player->setListener(nullptr);
    player->prepareAsync();
    player->setListener(std::make_shared<Listener>());  // too late for 1000 or not, the first hears none of it
    player->start();
    subject.play();
    player->stop(true);
    EXPECT_EQ(listener->told(), "");
}

}  // namespace
}  // namespace contract
