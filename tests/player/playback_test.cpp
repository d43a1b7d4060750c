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

TEST_F(Playback, TheHandlerOfTheEndMayPlayTheNextSource) {
    create();
    open("a.mp4");
    settle();
    auto next = at(1001, [this] { open("b.mp4"); });
    engine_.post("p1", 1000);
    engine_.post("p1", 1001);
    next.wait();
    settle();
    EXPECT_FALSE(engine_.post("p1", 1001)) << "the former player is silent";
    auto prepared = at(1000, [] {});
    engine_.post("p2", 1000);
    prepared.wait();
    EXPECT_TRUE(engine_.waitForCall("p2.setDataSource(b.mp4)") && engine_.waitForCall("p2.start"));
    EXPECT_THAT(engine_.history(), Not(HasSubstr("p2.stop"))) << "the end of a.mp4 does not act on b.mp4";
    EXPECT_EQ(engine_.maxLiving(), 1);
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

TEST_F(Playback, PlayersThatComeAndGoLeaveNothing) {
    for (int round = 0; round < 60; ++round) {
        restartEngine();
        create();
        auto handled = at(1000, [round, weak = std::weak_ptr(player_)] {
            const auto player = weak.lock();  // now and then the last reference
            if (!player) return;
            if (round % 3 == 0) player->setMediaSource(IVexoMediaSource::create("b.mp4"));
            if (round % 3 == 1) player->stop();
            player->prepareAsync();
        });
        engine_.autoPrepare = true;
        open("a.mp4");
        if (round % 2 == 0) handled.wait();
        player_.reset();
        while (engine_.living() > 0) std::this_thread::yield();
    }
    vexo::RenderSetup setup;
    auto *pipe = vexo::RenderManager::Instance().AcquirePipe(setup);
    EXPECT_EQ(pipe->Render(picture_.info), 1) << "no middleware stayed behind";
    vexo::RenderManager::Instance().ReleasePipe(pipe);
}

}  // namespace
}  // namespace VexoPlayerNS
