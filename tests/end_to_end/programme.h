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

extern "C" {
#include <libavutil/md5.h>
#include <libavutil/mem.h>
}

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/oriplayer/module.h"
#include "mixed/mixed_codecs_player.h"
#include "render/render_manager.h"
#include "support/clips.h"

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
    std::string md5;
    int width = 0;  ///< of the last picture
    int height = 0;
};

/// Sees every picture of the process while it is registered.
class Screen final : public vexo::IRenderMiddleware {
public:
    /// Before the player is made: its way for pictures knows the middlewares of that moment.
    Screen() { av_md5_init(sum_.get()); }
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
            closeSum();
            shown_.emplace_back().playerId = id;
        }
        shown_.back().numbers.push_back(support::pictureNumber(picture));
        shown_.back().width = picture.width;
        shown_.back().height = picture.height;
        add(picture);
        changed_.notify_all();
        return true;
    }
    vexo::RenderCat GetRenderCat() override { return vexo::kRenderCatVideo; }

    std::vector<Shown> shown() {
        const std::lock_guard lock(mutex_);
        closeSum();
        return shown_;
    }
    /// True once `holds` holds for what was shown.
    bool wait(const std::function<bool(const std::vector<Shown> &)> &holds) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, kPatience, [&] { return holds(shown_); });
    }

private:
    void add(const oriplayer::VideoPicture &picture) {
        for (int i = 0; i < 3; ++i) {
            const int width = i ? (picture.width + 1) / 2 : picture.width;
            const int height = i ? (picture.height + 1) / 2 : picture.height;
            const auto &plane = picture.planes[i];
            for (int row = 0; row < height; ++row) {
                av_md5_update(sum_.get(), plane.data + static_cast<std::ptrdiff_t>(row) * plane.stride,
                              static_cast<size_t>(width));
            }
        }
        open_ = true;
    }
    void closeSum() {
        if (open_) {
            std::array<uint8_t, 16> digest{};
            av_md5_final(sum_.get(), digest.data());
            for (uint8_t byte : digest) {
                char text[3];
                std::snprintf(text, sizeof text, "%02x", byte);
                shown_.back().md5 += text;
            }
        }
        open_ = false;
        av_md5_init(sum_.get());
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::weak_ptr<vexo::MixedCodecsPlayer> player_;
    std::vector<Shown> shown_;
    std::unique_ptr<AVMD5, void (*)(void *)> sum_{av_md5_alloc(), av_free};
    bool open_ = false;
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
        ++handled_[text];
        changed_.notify_all();
    }
    void notify(int, int, int, const std::string &, const std::string &) override {}

    bool waitFor(const std::string &event, int count = 1) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, kPatience, [&] { return handled_[event] >= count; });
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
    std::map<std::string, int> handled_;
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
    bool waitFor(const std::string &event, int count = 1) { return events->waitFor(event, count); }
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
