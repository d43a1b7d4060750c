#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "fake/scripted_engine.h"
#include "player/application.h"
#include "player/test_picture.h"
#include "render/render_manager.h"

namespace VexoPlayerNS {
namespace {

using testing::HasSubstr;
using testing::Not;

/// A facade with scripted engine players below. Tests wait for what the application or the engine has seen.
class Playback : public testing::Test {
protected:
    Playback() { engine_.reset(); }
    ~Playback() override { restartEngine(); }
    /// Players are counted from p1 again; the one of before is gone with its threads.
    void restartEngine() {
        player_.reset();
        engine_.reset();
    }
    void create(VexoParams params = {}) { player_ = IVexoPlayer::create(&application_, std::move(params)); }
    void open(const char *url) {
        player_->setMediaSource(IVexoMediaSource::create(url));
        player_->prepareAsync();
        player_->start();
    }
    /// Behind it every command accepted so far is done.
    void settle() {
        reports_.take();
        player_->setDisplay(nullptr);
        reports_.awaitLine("setDisplay impl call\n");
    }
    /// Runs `handler` at the application's first event `code`; behind it the returned future is ready.
    std::future<void> at(int code, std::function<void()> handler) {
        auto done = std::make_shared<std::promise<void>>();
        auto once = std::make_shared<std::once_flag>();
        application_.onEvent([=](int heard) {
            if (heard != code) return;
            std::call_once(*once, [&] {
                handler();
                done->set_value();
            });
        });
        return done->get_future();
    }

    fake::ScriptedEngine &engine_ = fake::ScriptedEngine::instance();
    vexo_test::ReportLog reports_;
    Application application_;
    TestPicture picture_{2, 2, 0};
    std::shared_ptr<IVexoPlayer> player_;
};

TEST_F(Playback, OptionsReachTheEnginePlayer) {
    for (const nonstd::any &enable : {nonstd::any(), nonstd::any(false), nonstd::any(0)}) {
        restartEngine();
        create({{kVideoPipelineEnable, enable}});
        open("a.mp4");
        settle();
        EXPECT_EQ(engine_.pipelineOf("p1") == nullptr, enable.type() == typeid(bool));
        EXPECT_NE(engine_.reporterOf("p1"), nullptr);
    }
}

TEST_F(Playback, StopSetPrepareStart_PlaysTheNextSourceEveryTime) {
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        restartEngine();
        engine_.autoPrepare = true;
        create();
        open("a.mp4");
        ASSERT_TRUE(engine_.waitForCall("p1.start"));
        const auto playNext = [this] {
            player_->stop();
            open("b.mp4");
        };
        if (round % 2 == 0) {
            playNext();
        } else {
            auto next = at(1001, playNext);
            engine_.post("p1", 1001);
            next.wait();
        }
        settle();
        ASSERT_TRUE(engine_.waitForCall("p2.setDataSource(b.mp4)") && engine_.waitForCall("p2.start"));
        ASSERT_THAT(engine_.history(), Not(HasSubstr("p2.stop")));
        ASSERT_EQ(engine_.maxLiving(), 1);
        ASSERT_FALSE(engine_.post("p1", 1001)) << "the former player is silent";
    }
}

TEST_F(Playback, ACommandThatRunsAsTheSourceChanges_LeavesTheNextSourceAlone) {
    const std::pair<const char *, void (IVexoPlayer::*)()> commands[] = {
        {"stop impl call\n", &IVexoPlayer::stop},
        {"startImpl call\n", &IVexoPlayer::start},
        {"prepareAsyn impl call\n", &IVexoPlayer::prepareAsync}};
    for (const auto &[held, command] : commands) {
        SCOPED_TRACE(held);
        std::promise<void> inside;
        std::promise<void> release;
        std::atomic<int> calls{0};
        reports_.onLine = [&, held = held](const std::string &line) {
            if (line != held || ++calls > 1) return;
            inside.set_value();
            release.get_future().wait();
        };
        create();
        player_->setMediaSource(IVexoMediaSource::create("a.mp4"));
        (player_.get()->*command)();
        inside.get_future().wait();
        player_->setMediaSource(IVexoMediaSource::create("b.mp4"));
        release.set_value();
        settle();
        EXPECT_EQ(engine_.history(), "");
        player_->prepareAsync();
        EXPECT_TRUE(engine_.waitForCall("p1.setDataSource(b.mp4)"));
        restartEngine();
        reports_.onLine = nullptr;
    }
}

TEST_F(Playback, ACallbackMayUseThePlayerWhileItIsDestroyed) {
    for (int round = 0; round < 20; ++round) {
        restartEngine();
        create();
        open("a.mp4");
        settle();
        std::atomic<bool> inside{false};
        auto handled = at(306, [&inside, player = player_.get()] {
            inside = true;
            for (int i = 0; i < 100; ++i) {
                player->setMediaSource(IVexoMediaSource::create("b.mp4"));
                player->setParams({{kAudioVolume, 0.5F}});
                player->getParam(kAudioVolume);
                player->prepareAsync();
                player->start();
                player->setDisplay(nullptr);
                player->stop();
            }
        });
        engine_.post("p1", 306);
        while (!inside) std::this_thread::yield();
        player_.reset();
        handled.wait();
        EXPECT_EQ(engine_.living(), 0);
    }
}

TEST_F(Playback, ASharedCallbackIsDestroyedAfterItsLastCallback) {
    struct Shared : Application {
        ~Shared() override { destroyed->set_value(inside->load()); }
        std::promise<bool> *destroyed = nullptr;
        std::atomic<bool> *inside = nullptr;
    };
    std::promise<bool> destroyed;
    std::atomic<bool> inside{false};
    auto callback = std::make_shared<Shared>();
    callback->destroyed = &destroyed;
    callback->inside = &inside;
    callback->onEvent([&](int code) {
        if (code != 306) return;
        inside = true;
        player_.reset();  // the last reference
        for (int i = 0; i < 1000; ++i) std::this_thread::yield();
        inside = false;
    });
    player_ = IVexoPlayer::create(std::move(callback), {});
    open("a.mp4");
    settle();
    engine_.post("p1", 306);
    EXPECT_FALSE(destroyed.get_future().get()) << "destroyed inside its callback";
}

TEST_F(Playback, BehindTheDestructorTheApplicationHearsNothing) {
    for (int round = 0; round < 20; ++round) {
        restartEngine();
        auto application = std::make_unique<Application>();
        player_ = IVexoPlayer::create(application.get(), {});
        open("a.mp4");
        settle();
        auto pipeline = engine_.pipelineOf("p1");
        std::atomic<bool> over{false};
        std::thread events([&] {
            while (!over) engine_.post("p1", 306, 1, 1);
        });
        std::thread pictures([&] {
            while (!over) pipeline->Render(&picture_.record);
        });
        while (application->takeEvents().empty() || application->pictures == 0) std::this_thread::yield();
        player_.reset();
        application.reset();
        over = true;
        events.join();
        pictures.join();
    }
}

}  // namespace
}  // namespace VexoPlayerNS
