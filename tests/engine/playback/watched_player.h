#pragma once

// One engine player with a listener and a screen that write down what they get.
//
//   WatchedPlayer player({clip("numbered.mp4")});
//   player.prepare();
//   player->start();
//   ASSERT_TRUE(player.waitForEvent(1001));      // every wait is bounded by 30 s; false means that it never came
//   EXPECT_EQ(player.numbers(), ...);

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <vector>

#include "base/oriplayer/module.h"
#include "base/oriplayer/picture.h"
#include "base/oriplayer/player.h"
#include "support/clips.h"
#include "support/picture_digest.h"

namespace test {

/// Sets a property of the process for a scope.
class PropertyGuard {
public:
    PropertyGuard(int number, const char *value) : number_(number) { oriplayer::setProperty(number, value); }
    ~PropertyGuard() { oriplayer::setProperty(number_, nullptr); }
    PropertyGuard(const PropertyGuard &) = delete;
    PropertyGuard &operator=(const PropertyGuard &) = delete;

private:
    int number_;
};

struct ShownPicture {
    int64_t positionUs = 0;
    int clipNumber = 0;  ///< as written into the clip's picture
    int width = 0;
};

struct ToldEvent {
    int number = 0;
    int first = 0;
    std::string text;
};

/// What both write down, shared so that it outlives the player.
class Record {
public:
    template <typename Condition> bool wait(Condition condition) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), condition);
    }
    void change(const std::function<void()> &write) {
        {
            const std::lock_guard lock(mutex_);
            write();
        }
        changed_.notify_all();
    }

    std::vector<ShownPicture> pictures;
    std::vector<ToldEvent> events;
    int opened = 0;
    int closed = 0;

private:
    std::mutex mutex_;
    std::condition_variable changed_;
};

class Screen : public oriplayer::VideoRenderPipeline {
public:
    explicit Screen(std::shared_ptr<Record> record) : record_(std::move(record)) {}

    int Pause() override { return 0; }
    int Resume() override { return 0; }
    int Reset() override { return 0; }
    int Close() override {
        record_->change([this] { ++record_->closed; });
        return 0;
    }
    oriplayer::RenderOpenResult Open(oriplayer::DRWSetup *&) override {
        record_->change([this] { ++record_->opened; });
        return {0};
    }
    oriplayer::DrawCoreVideoImpl *GetRenderer() override { return nullptr; }

    int Render(oriplayer::RenderRecord *record) override {
        const oriplayer::VideoPicture &picture = *record->picture;
        digest_.add(picture);
        const auto position = static_cast<uint64_t>(record->words[oriplayer::kRenderPositionLow]) |
                              static_cast<uint64_t>(record->words[oriplayer::kRenderPositionHigh]) << 32;
        const ShownPicture shown{static_cast<int64_t>(position), support::pictureNumber(picture), picture.width};
        record_->change([&] { record_->pictures.push_back(shown); });
        if (onPicture) onPicture(shown);
        return 0;
    }

    std::string md5() const { return digest_.text(); }

    std::function<void(const ShownPicture &)> onPicture;  ///< set before start()

private:
    std::shared_ptr<Record> record_;
    support::PictureDigest digest_;
};

class Ear : public oriplayer::IOriPlayerListener {
public:
    explicit Ear(std::shared_ptr<Record> record) : record_(std::move(record)) {}

    void notify(long long, int msg, int, int, const oriplayer::Param &param) override {
        if (msg == 309) {
            ++lines;
            return;
        }
        ToldEvent event{msg, param.getInt32(0), {}};
        if (const char *text = param.getCString(1)) event.text = text;
        if (onEvent) onEvent(msg);
        record_->change([&] { record_->events.push_back(event); });
    }
    void notify(int, int, int, const std::string &, const std::string &) override {}

    std::atomic<int> lines{0};         ///< of the engine's log; they stand among no events
    std::function<void(int)> onEvent;  ///< set before prepare(); runs before the event is written down

private:
    std::shared_ptr<Record> record_;
};

class WatchedPlayer {
public:
    using Headers = std::vector<std::pair<std::string, std::string>>;

    explicit WatchedPlayer(const std::vector<std::string> &urls, int64_t startMs = 0, const Headers &headers = {}) {
        setenv("SDL_AUDIODRIVER", "dummy", 0);
        player_ = oriplayer::IOriPlayer::create();
        player_->setListener(ear);
        player_->setVideoPipeline(screen);
        period = oriplayer::IPeriod::create();
        for (const auto &url : urls) period->addSource(oriplayer::ISource::create(url.c_str(), 0.0));
        period->setStartTime(startMs);
        auto component = std::make_shared<oriplayer::PlayComponent>();
        component->playList = oriplayer::IPlayList::create();
        component->playList->addPeriod(period, -1);
        auto map = std::make_shared<oriplayer::StringMap>();
        for (const auto &[key, value] : headers) map->add(key.c_str(), value.c_str());
        player_->setDataSource({component}, 1, map);
    }
    ~WatchedPlayer() {
        if (player_) player_->stop(true);
    }

    /// By the same content elsewhere, running.
    int replaceBy(const std::string &url) {
        const auto other = oriplayer::IPeriod::create();
        other->addSource(oriplayer::ISource::create(url.c_str(), 0.0));
        other->setChangeMode(2);
        return player_->changePeriod(0, 0, other, nullptr);
    }

    oriplayer::IOriPlayer *operator->() const { return player_.get(); }
    void letGo() { player_.reset(); }
    std::shared_ptr<oriplayer::IOriPlayer> share() const { return player_; }

    bool prepare() { return player_->prepareAsync() == 0 && waitForEvent(1000); }
    void play() {
        player_->prepareAsync();
        player_->start();
    }
    bool playToEnd() {
        play();
        return waitForEvent(1001);
    }
    bool waitForEvent(int number, int times = 1) {
        return record->wait([=, this] { return countLocked(number) >= times; });
    }
    /// Until one of 501 to 504 comes: its number, or 0.
    int waitForFailure() {
        int failure = 0;
        record->wait([&] {
            for (const auto &event : record->events) {
                if (event.number >= 501 && event.number <= 504) failure = event.number;
            }
            return failure != 0;
        });
        return failure;
    }
    bool waitForPictures(std::size_t count) {
        return record->wait([=, this] { return record->pictures.size() >= count; });
    }
    /// Until this picture of the clip is shown, `behind` pictures or later.
    bool waitForNumber(int clipNumber, std::size_t behind = 0) {
        return record->wait([=, this] {
            for (std::size_t i = behind; i < record->pictures.size(); ++i) {
                if (record->pictures[i].clipNumber == clipNumber) return true;
            }
            return false;
        });
    }

    std::vector<ShownPicture> pictures() {
        std::vector<ShownPicture> copy;
        record->change([&] { copy = record->pictures; });
        return copy;
    }
    std::vector<int> numbers() {
        std::vector<int> result;
        for (const auto &picture : pictures()) result.push_back(picture.clipNumber);
        return result;
    }
    /// "306 1000 1017 1001"
    std::string events() {
        std::string text;
        record->change([&] {
            for (const auto &event : record->events) text += (text.empty() ? "" : " ") + std::to_string(event.number);
        });
        return text;
    }
    int64_t positionMs(int mode = 0) const {
        int64_t position = -1;
        player_->getCurrentPosition(&position, mode);
        return position;
    }
    int64_t durationMs() const {
        int64_t duration = -1;
        player_->getDuration(&duration);
        return duration;
    }
    oriplayer::Param parameter(int number) const {
        oriplayer::Param param;
        player_->getParameter(number, &param, -1);
        return param;
    }
    template <typename Number> int set(int number, Number value) const {
        oriplayer::Param param;
        if constexpr (std::is_same_v<Number, int>) param.putInt32(value);
        if constexpr (std::is_same_v<Number, float>) param.putFloat(value);
        if constexpr (std::is_same_v<Number, double>) param.putDouble(value);
        return player_->setParameter(number, param, -1);
    }
    /// Pictures that were too late, in the decoder or behind it.
    int dropped() const { return parameter(2019).getInt32(5) + parameter(2019).getInt32(6); }

    const std::shared_ptr<Record> record = std::make_shared<Record>();
    const std::shared_ptr<Screen> screen = std::make_shared<Screen>(record);
    const std::shared_ptr<Ear> ear = std::make_shared<Ear>(record);
    std::shared_ptr<oriplayer::IPeriod> period;

private:
    int countLocked(int number) const {
        int count = 0;
        for (const auto &event : record->events) count += event.number == number ? 1 : 0;
        return count;
    }

    std::shared_ptr<oriplayer::IOriPlayer> player_;
};

}  // namespace test
