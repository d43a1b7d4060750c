#include <future>
#include <thread>

#include "codec/codec_media_process.h"
#include "codec/codec_net_process.h"
#include "mixed/player_fixture.h"

namespace vexo {
namespace {

/// Tells when the player that holds it has gone.
struct EndSignal : protocols::IReporter {
    explicit EndSignal(std::promise<void> &gone) : gone_(gone) {}
    ~EndSignal() override { gone_.set_value(); }
    bool report(std::string, int64_t, int, std::map<std::string, std::string> &) override { return true; }
    std::promise<void> &gone_;
};

class PlayerEnd : public PlayerTest {};

TEST_F(PlayerEnd, OnAnOrdinaryThread_TheIsolatedTimelineGoesFirstAndNothingIsToldBehindIt) {
    interrupt({period({"x"})});
    player.reset();
    const std::string calls = log();
    EXPECT_LT(calls.find("p2.destroy"), calls.find("p1.stop"));
    EXPECT_NE(calls.find("p1.destroy"), std::string::npos);

    restart();
    interrupt({period({"x"})});
    engine.postLater("p1", 1001);
    engine.postLater("p2", 1001);
    player.reset();
    listener->takeEvents();
    engine.waitPosted();
    EXPECT_EQ(engine.living(), 0);
    EXPECT_EQ(listener->takeEvents(), "");
}

TEST_F(PlayerEnd, LastReferenceDroppedInACallback_ReturnsAtOnceAndIsTheLastCallback) {
    std::promise<void> gone;
    player->setReporter(std::make_shared<EndSignal>(gone));
    playMain({"a", "b"});
    listener->on(1001, [this] { player.reset(); });
    ends("p1");
    ASSERT_TRUE(listener->waitFor(1001));
    ASSERT_EQ(gone.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(engine.living(), 0);
    EXPECT_EQ(listener->takeEvents(), "1000@000000 1001@000000");
}

TEST_F(PlayerEnd, AKeptProcessor_ReachesNothing) {
    playMain({"a"});
    const auto media = player->getMediaProcessor();
    const auto net = player->getNetProcessor();
    EXPECT_EQ(media->SetVolume(0.5F), 0);
    player.reset();
    EXPECT_EQ(media->SetVolume(0.5F), -1);
    EXPECT_FALSE(media->IsPlaying());
    net->HandleNetStatusChange("0");
    net->HandleNetStatusChange("1");
}

TEST_F(PlayerEnd, PlayersThatComeAndGoWhileTheEngineAsks_LeaveNoOneBehind) {
    std::atomic<bool> over{false};
    const auto ask = engine.domainCallback();
    std::thread engineThread([&] {
        while (!over) {
            char domain[64];
            int network = 0;
            ask(1, domain, sizeof domain, network, "http://127.0.0.1/", "");
        }
    });
    for (int i = 0; i < 20; ++i) {
        const auto other = MixedCodecsPlayer::create();
        other->addPeriod(1, -1, period({"x"}), nullptr);
        other->prepareAsync(1);
        other->start(1);
    }
    over = true;
    engineThread.join();
    EXPECT_EQ(engine.living(), 0);
}

}  // namespace
}  // namespace vexo
