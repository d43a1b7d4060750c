#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <set>

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
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return told_ == told; });
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
