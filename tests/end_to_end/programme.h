#pragma once

// A player of mixed codecs on the real engine, and what an application sees of it.
//
//   Programme programme(Pace::kUntimed);
//   programme.give({clip("a.mp4"), clip("b.webm")});
//   programme.player->prepareAsync();
//   programme.player->start();
//   ASSERT_TRUE(programme.waitFor("1001@000100"));   // every wait is bounded by 30 s
//   EXPECT_EQ(programme.shown()[1].md5, expected("b.webm").md5);
//
// Events are written as "number@identity", the identity in six hexadecimal digits: timeline, period, source.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <functional>

#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "base/oriplayer/module.h"
#include "mixed/mixed_codecs_player.h"
#include "render/render_manager.h"
#include "support/clips.h"
#include "support/picture_digest.h"

namespace end_to_end {

constexpr std::chrono::seconds kPatience{30};

enum class Pace { kTimed, kUntimed };
enum class Layout { kPeriods, kMixed };

inline std::shared_ptr<oriplayer::IPeriod> periodOf(const std::vector<std::string> &urls) {
    auto period = oriplayer::IPeriod::create();
    for (const auto &url : urls) period->addSource(oriplayer::ISource::create(url.c_str(), 0.0));
    period->setMixedCodecs(urls.size() > 1);
    return period;
}

inline std::vector<std::shared_ptr<oriplayer::PlayComponent>> componentsOf(const std::vector<std::string> &urls,
                                                                           Layout layout) {
    auto component = std::make_shared<oriplayer::PlayComponent>();
    component->playList = oriplayer::IPlayList::create();
    if (layout == Layout::kMixed) {
        component->playList->addPeriod(periodOf(urls), -1);
    } else {
        for (const auto &url : urls) component->playList->addPeriod(periodOf({url}), -1);
    }
    return {component};
}

/// The pictures of one engine player.
struct Shown {
    int playerId = -1;
    std::vector<int> numbers{};  ///< as written into the clips' pictures
    std::string md5{};
    int width = 0;  ///< of the last picture
    int height = 0;
};

/// Sees every picture of the process while it is registered.
class Screen final : public vexo::IRenderMiddleware {
public:
    /// Before the player is made: its way for pictures knows the middlewares of that moment.
    void belongTo(std::weak_ptr<vexo::MixedCodecsPlayer> player) {
        const std::lock_guard lock(mutex_);
        player_ = std::move(player);
    }
    bool Process(vexo::RenderOutputInfo &info) override {
        const oriplayer::VideoPicture &picture = *info.picture;
        const std::lock_guard lock(mutex_);
        const auto player = player_.lock();
        if (!player) return true;
        const int id = player->getActiveID();
        if (shown_.empty() || shown_.back().playerId != id) {
            shown_.emplace_back().playerId = id;
            digests_.emplace_back();
        }
        shown_.back().numbers.push_back(support::pictureNumber(picture));
        shown_.back().width = picture.width;
        shown_.back().height = picture.height;
        digests_.back().add(picture);
        changed_.notify_all();
        return true;
    }
    vexo::RenderCat GetRenderCat() override { return vexo::kRenderCatVideo; }

    std::vector<Shown> shown() {
        const std::lock_guard lock(mutex_);
        for (std::size_t i = 0; i < shown_.size(); ++i) shown_[i].md5 = digests_[i].text();
        return shown_;
    }
    /// True once `holds` holds for what was shown.
    bool wait(const std::function<bool(const std::vector<Shown> &)> &holds) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, kPatience, [&] { return holds(shown_); });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::weak_ptr<vexo::MixedCodecsPlayer> player_;
    std::vector<Shown> shown_;
    std::vector<support::PictureDigest> digests_;
};

/// Writes events down and runs a hook behind each.
class Events final : public oriplayer::IOriPlayerListener {
public:
    void notify(long long id, int what, int, int, const oriplayer::Param &) override {
        char text[40];
        std::snprintf(text, sizeof text, "%d@%06llx", what, static_cast<unsigned long long>(id));
        {
            const std::lock_guard lock(mutex_);
            told_.emplace_back(text);
        }
        if (onEvent) onEvent(text);
        const std::lock_guard lock(mutex_);
        handled_.insert(text);
        changed_.notify_all();
    }
    void notify(int, int, int, const std::string &, const std::string &) override {}

    bool waitFor(const std::string &event) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, kPatience, [&] { return handled_.contains(event); });
    }
    /// Those among `numbers`, in the order told, separated by blanks.
    std::string told(const std::vector<std::string> &numbers) {
        const std::lock_guard lock(mutex_);
        std::string joined;
        for (const auto &event : told_) {
            const std::string number = event.substr(0, event.find('@'));
            if (std::find(numbers.begin(), numbers.end(), number) == numbers.end()) continue;
            joined += (joined.empty() ? "" : " ") + event;
        }
        return joined;
    }

    std::function<void(const std::string &event)> onEvent;  ///< set before the player is given the listener

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> told_;
    std::set<std::string> handled_;
};

class Programme {
public:
    explicit Programme(Pace pace) {
        oriplayer::setProperty(oriplayer::kPropertyUntimed, pace == Pace::kUntimed ? "1" : nullptr);
        vexo::RenderManager::Instance().AddMiddleware(screen);
        player = vexo::MixedCodecsPlayer::create();
        player->setVideoPipelineEnable(true);
        screen->belongTo(player);
    }
    ~Programme() {
        if (player) player->stop(true);
        player.reset();
        vexo::RenderManager::Instance().RemoveMiddleware(screen);
        oriplayer::setProperty(oriplayer::kPropertyUntimed, nullptr);
    }
    Programme(const Programme &) = delete;
    Programme &operator=(const Programme &) = delete;

    void give(const std::vector<std::string> &urls, Layout layout = Layout::kPeriods) {
        player->setListener(events);
        player->setDataSource(componentsOf(urls, layout), 1, nullptr);
    }
    /// Gives and plays.
    void play(const std::vector<std::string> &urls, Layout layout = Layout::kPeriods) {
        give(urls, layout);
        player->prepareAsync();
        player->start();
    }
    bool waitFor(const std::string &event) { return events->waitFor(event); }
    std::vector<Shown> shown() const { return screen->shown(); }
    int64_t position() const {
        int64_t ms = -1;
        player->getCurrentPosition(&ms, 0);
        return ms;
    }
    int64_t duration() const {
        int64_t ms = -1;
        player->getDuration(&ms);
        return ms;
    }

    const std::shared_ptr<Events> events = std::make_shared<Events>();
    const std::shared_ptr<Screen> screen = std::make_shared<Screen>();
    std::shared_ptr<vexo::MixedCodecsPlayer> player;
};

}  // namespace end_to_end
