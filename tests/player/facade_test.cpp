#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "player/application.h"
#include "player/test_picture.h"
#include "render/video_render_pipeline_wrapper.h"

namespace VexoPlayerNS {
namespace {

using testing::Contains;
using testing::ElementsAre;

/// A player without an engine player below: commands, their order, their lines, and the life of the object. A task is
/// caught by the line that it writes.
class Facade : public testing::Test {
protected:
    void create(VexoParams params = {}) {
        player_ = IVexoPlayer::create(&application_, std::move(params));
        pipeline_ = std::make_unique<vexo::VideoRenderPipelineWrapper>();
    }
    void showPicture() { pipeline_->Render(&picture_.record); }
    void raiseEvent(int code) {
        dynamic_cast<IVexoPlayerCallback &>(*player_).onPlayEvent(7, code, "notify_win_ios_android", {});
    }
    /// The lines of `expected` that were written, in their order.
    std::vector<std::string> takeThoseOf(const std::vector<std::string> &expected) {
        std::vector<std::string> lines = reports_.takeLines();
        std::erase_if(lines, [&](const std::string &line) {
            return std::find(expected.begin(), expected.end(), line) == expected.end();
        });
        return lines;
    }

    vexo_test::ReportLog reports_;
    Application application_;
    TestPicture picture_{2, 2, 0};
    std::shared_ptr<IVexoPlayer> player_;
    std::unique_ptr<vexo::VideoRenderPipelineWrapper> pipeline_;
};

TEST_F(Facade, TheConstructionLineShowsIntsAndTexts_WithoutACallbackWhatHappensIsDropped) {
    create({{"audio_volume", 0.5f}, {"flag", true}, {"number", -3}, {"text", std::string("a b")}});
    EXPECT_THAT(reports_.takeLines(),
                Contains("VexoPlayer construct callback:1 params:audio_volume:\nflag:\nnumber:-3\ntext:a b\n\n"));
    player_ = IVexoPlayer::create(nullptr, {});
    EXPECT_THAT(reports_.takeLines(), Contains("VexoPlayer construct callback:0 params:\n"));
    raiseEvent(1000);
    EXPECT_THAT(reports_.takeLines(),
                ElementsAre("onPlayEvent call sid:[7] code:[1000] msg:[notify_win_ios_android]\n"));
    showPicture();
}

TEST_F(Facade, TheVolumeCountsOnlyAsAFloat_OtherParamsAreNotReadBack) {
    const auto volume = [this] { return nonstd::any_cast<float>(player_->getParam(kAudioVolume)); };
    for (const nonstd::any &other : {nonstd::any(), nonstd::any(1), nonstd::any(0.5), nonstd::any(std::string("1"))}) {
        create({{kAudioVolume, other}});
        EXPECT_EQ(volume(), -1.0f);
    }
    create({{kAudioVolume, 0.5f}});
    EXPECT_EQ(volume(), 0.5f);
    player_->setParams({{kAudioVolume, 0.25f}, {kVideoPipelineEnable, 1}, {"unknown", 1}});
    EXPECT_EQ(volume(), 0.25f);
    for (const char *key : {kAudioDeviceId, kVideoPipelineEnable, kQzrtpAppId, ""}) {
        EXPECT_FALSE(player_->getParam(key).has_value()) << key;
    }
}

TEST_F(Facade, EachCommandWritesItsLineAndItsTaskLine) {
    create();
    reports_.takeLines();
    player_->setMediaSource(nullptr);
    EXPECT_THAT(reports_.takeLines(), ElementsAre("setMediaSource call\n"));
    const auto tells = [&](const std::function<void()> &command, const std::vector<std::string> &lines) {
        command();
        reports_.awaitLine(lines.back());
        EXPECT_EQ(takeThoseOf(lines), lines);
    };
    tells([&] { player_->prepareAsync(); }, {"prepareAsyn call\n", "prepareAsyn impl call\n"});
    tells([&] { player_->start(); }, {"start call\n", "startImpl call\n"});
    tells([&] { player_->stop(); }, {"stop call\n", "stop impl call\n"});
    tells([&] { player_->setDisplay(nullptr); }, {"setDisplay call\n", "setDisplay impl call\n"});
}

TEST_F(Facade, AnOrdinaryCommandReturnsBehindTheTaskThatRuns) {
    std::atomic<bool> finished{false};
    reports_.onLine = [&](const std::string &line) {
        if (line != "prepareAsyn impl call\n") return;
        reports_.awaitLine("start call\n");
        for (int i = 0; i < 1000; ++i) std::this_thread::yield();
        finished = true;
    };
    create();
    player_->prepareAsync();
    reports_.awaitLine("prepareAsyn impl call\n");
    player_->start();
    EXPECT_TRUE(finished);
    player_.reset();
}

TEST_F(Facade, CommandsInACallbackOrATaskWaitForNobodyAndKeepTheOrder) {
    std::promise<void> accepted;
    std::promise<void> release;
    reports_.onLine = [&](const std::string &line) {
        if (line != "prepareAsyn impl call\n") return;
        player_->setDisplay(nullptr);  // inside the task
        accepted.set_value();
        release.get_future().wait();
    };
    create();
    player_->prepareAsync();
    accepted.get_future().wait();
    application_.onPicture = [&] { player_->start(); };
    application_.onEvent([&](int) {
        showPicture();  // a callback in a callback
        player_->stop();
    });
    raiseEvent(1000);  // comes back although the task still runs
    EXPECT_EQ(application_.pictures, 1);
    release.set_value();
    reports_.awaitLine("stop impl call\n");
    const std::vector<std::string> tasks = {"prepareAsyn impl call\n", "setDisplay impl call\n", "startImpl call\n",
                                            "stop impl call\n"};
    EXPECT_EQ(takeThoseOf(tasks), tasks);
    player_.reset();
}

TEST_F(Facade, TheLastReferenceMayGoInACallbackOrATask) {
    const std::vector<std::string> laterTasks = {"startImpl call\n"};
    for (const std::string place : {"event", "picture", "task"}) {
        SCOPED_TRACE(place);
        application_.pictures = 0;
        std::promise<void> dropped;
        const auto dropHere = [&] {
            IVexoPlayer &player = *player_;
            if (place == "task") player.start();  // accepted, but nothing runs behind the drop
            player_.reset();
            showPicture();  // the application hears of nothing any more
            dropped.set_value();
        };
        application_.onEvent([&](int) { dropHere(); });
        application_.onPicture = dropHere;
        reports_.onLine = [&](const std::string &line) {
            if (line == "stop impl call\n" && place == "task") dropHere();
        };
        create();
        auto source = IVexoMediaSource::create("a.mp4");
        const std::weak_ptr<IVexoMediaSource> held = source;  // by the player, until everything that plays has ended
        player_->setMediaSource(std::move(source));
        if (place == "event") raiseEvent(1001);
        if (place == "picture") showPicture();
        if (place == "task") player_->stop();
        dropped.get_future().wait();
        while (!held.expired()) std::this_thread::yield();
        EXPECT_EQ(application_.pictures, place == "picture" ? 1 : 0);
        EXPECT_THAT(takeThoseOf(laterTasks), testing::IsEmpty());
        reports_.onLine = nullptr;
    }
}

}  // namespace
}  // namespace VexoPlayerNS
