#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <memory>

#include "codec/codec_net_process.h"
#include "fake/recording_configure.h"
#include "fake/scripted_engine.h"
#include "timeline/timeline.h"

namespace vexo {
namespace {

struct Strategy : IHostStrategy {
    std::function<void()> work = [] {};
    int resolve(int, const char *, const char *, char *buffer, int) override {
        work();
        buffer[0] = 'S';
        return 0;
    }
};

struct Probe : INetworkProbe {
    explicit Probe(int answer) : answer_(answer) {}
    int check() override { return answer_; }
    int answer_;
};

class NetProcess : public testing::Test {
protected:
    void SetUp() override {
        engine.reset();
        process = std::make_unique<CodecNetProcess>(nullptr);
        process->HandleNetStatusChange("1");  // the state is the whole process's
    }
    void TearDown() override { engine.reset(); }

    static std::shared_ptr<oriplayer::StringMap> headers(
        std::initializer_list<std::pair<const char *, const char *>> pairs) {
        auto map = std::make_shared<oriplayer::StringMap>();
        for (const auto &[key, value] : pairs) map->add(key, value);
        return map;
    }

    /// What the engine hears for a player: "text@network", or the result if there is no answer.
    static std::string ask(int id, const char *url = "http://cdn.example/a", int size = 32) {
        char domain[32] = "untouched";
        int network = -1;
        const auto callback = fake::ScriptedEngine::instance().domainCallback();
        const int result = callback(id, domain, size, network, url, "");
        return (result == 0 ? domain : std::to_string(result)) + "@" + std::to_string(network);
    }

    void update(const char *ns, std::map<std::string, std::string> values) {
        process->OnConfigUpdate(ns, std::move(values));
    }

    fake::ScriptedEngine &engine = fake::ScriptedEngine::instance();
    std::unique_ptr<CodecNetProcess> process;
};

TEST_F(NetProcess, ThePlayersOwnProcessor_AnswersElseTheYoungest) {
    CodecNetProcess younger(nullptr);
    EXPECT_EQ(ask(11), "-1@1");  // nobody knows a domain
    process->SetCurrentHeader(11, headers({{"cdn_wifi_domain", "one"}}));
    younger.SetCurrentHeader(22, headers({{"cdn_wifi_domain", "two"}}));
    EXPECT_EQ(ask(11), "one@1");
    EXPECT_EQ(ask(22), "two@1");
    EXPECT_EQ(ask(99), "two@1");
    EXPECT_EQ(ask(11, nullptr), "one@1");
    EXPECT_EQ(ask(11, "", 0), "-1@1");
    EXPECT_EQ(ask(11, "", -1), "-1@1");
    process.reset();
    EXPECT_EQ(ask(11), "two@1");
}

TEST_F(NetProcess, WhatHeadersLeaveOut_StaysOnTheirTimeline) {
    process->RecordDomains(0, 11, headers({{"cdn_wifi_domain", "main"}}));
    process->RecordDomains(1, 22, headers({{"isUseNewHostStrategy", "1"}}));
    EXPECT_EQ(ask(22), "untouched@1") << "the host's own strategy, which is not there";
    process->RecordDomains(0, 12, nullptr);
    EXPECT_EQ(ask(12), "main@1");
    process->RecordDomains(1, 23, headers({{"other", "1"}}));
    EXPECT_EQ(ask(23), "main@1") << "inherited";
    update("play_info", {{"cdn_wifi_domain", "new"}});
    EXPECT_EQ(ask(12) + ask(23), "new@1new@1");
}

TEST_F(NetProcess, AChangeUnderTheTimelinesConfiguration_ReachesEveryPlayerAndIsAnsweredWithItsDomains) {
    const auto host = std::make_shared<fake::RecordingConfigure>();
    CodecNetProcess other(nullptr);
    for (CodecNetProcess *one : {process.get(), &other}) {
        const auto timeline = std::make_shared<Timeline>(0);
        timeline->SetConfigure(host);
        one->Initialize(timeline, nullptr, -1, -1);
        one->RegisterCodecConfigListener();  // with none
        one->RemoveCodecConfigListener();    // takes the timeline's
        EXPECT_EQ(host->takeCalls(), "-cdn_wifi_domain -cdn_4g_domain -network_type");
        timeline->AddBound(oriplayer::IPeriod::create(), nullptr);
        timeline->Prepare();
        one->RecordDomains(0, timeline->GetActiveId(), headers({{"cdn_4g_domain", "old"}}));
    }
    std::string asked;
    engine.onCall([&](const std::string &entry) {
        if (entry.find(".setParameter(3901") == std::string::npos) return;
        // The engine asks on a thread of its own.
        const std::string name = entry.substr(0, 2);
        asked += name + ":" + std::async(std::launch::async, [&] { return ask(engine.idOf(name)); }).get() + " ";
    });
    for (int i = 0; i < 2; ++i) update("system_info", {{"network_type", "1"}, {"cdn_4g_domain", "mobile"}});
    engine.onCall(nullptr);
    EXPECT_EQ(asked, "p1:mobile@0 p2:mobile@0 ");
    for (const auto &call : engine.takeParameterCalls()) EXPECT_EQ(call.value.getInt32(0), 0);
}

TEST_F(NetProcess, TheNetworkOfThisMoment_ChoosesAmongTheDomainsKnown) {
    process->SetCurrentHeader(11, headers({{"cdn_wifi_domain", "wifi"}, {"cdn_4g_domain", "mobile"}}));
    update("system_info", {{"network_type", "1"}, {"cdn_4g_domain", ""}});  // a type, where "0" is wifi
    EXPECT_EQ(ask(11), "mobile@0");
    process->HandleNetStatusChange("2");
    update("app_initialize", {{"network_type", "0"}, {"cdn_4g_domain", "foreign"}});
    EXPECT_EQ(ask(11), "mobile@0");
    update("play_info", {{"network_type", "0"}});
    EXPECT_EQ(ask(11), "wifi@1");
    update("system_info", {{"cdn_wifi_domain", "new"}});
    EXPECT_EQ(ask(11), "new@1");
    process->SetCurrentHeader(11, headers({{"cdn_wifi_domain", ""}}));  // erases, unlike an update
    EXPECT_EQ(ask(11), "-1@1");
}

TEST_F(NetProcess, HostStrategy_IsSetByTheHeadersClearedByOthersButNotByNone_AndBlocksNoUpdate) {
    const auto strategy = std::make_shared<Strategy>();
    process->SetCurrentHeader(11, headers({{"isUseNewHostStrategy", "1"}, {"cdn_wifi_domain", "w"}}));
    EXPECT_EQ(ask(11), "untouched@1");  // nobody attached one
    process->SetHostStrategy(strategy);
    EXPECT_EQ(ask(11), "Sntouched@1");
    process->SetCurrentHeader(12, nullptr);
    process->SetCurrentHeader(12, headers({}));
    EXPECT_EQ(ask(12), "Sntouched@1");
    std::future<void> host;  // delivers an update and holds a lock that the strategy waits for
    strategy->work = [&] {
        host = std::async(std::launch::async, [this] { update("system_info", {{"network_type", "1"}}); });
        EXPECT_EQ(host.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    };
    EXPECT_EQ(ask(12), "Sntouched@1");
    update("system_info", {{"network_type", "0"}});
    process->SetCurrentHeader(12, headers({{"other", "1"}}));
    EXPECT_EQ(ask(12), "w@1");
}

TEST_F(NetProcess, AProbe_MakesALocalServerOnAMobileNetworkCountAsWifi) {
    const auto host = std::make_shared<fake::RecordingConfigure>();
    host->set("p2p_vod_enable_4G", "1");
    host->set("network_type", "3");
    process->SetCurrentHeader(11, headers({{"cdn_4g_domain", "mobile"}}));
    process->SetNetworkProbe(std::make_shared<Probe>(0));
    const char *local = "http://127.0.0.1:1/a";
    process->HandleNetStatusChange("0");
    EXPECT_EQ(ask(11, local), "mobile@0");  // not enabled
    process->SetConfigure(host);
    process->RegisterCodecConfigListener();
    EXPECT_EQ(ask(11, local), "mobile@1");
    EXPECT_EQ(ask(11), "mobile@0");
    process->SetNetworkProbe(std::make_shared<Probe>(1));
    EXPECT_EQ(ask(11, local), "mobile@0");
    process->ClearNetworkProbe();
    EXPECT_EQ(ask(11, local), "mobile@0");
    process.reset();
    EXPECT_EQ(host->listeners(), 0);
}

}  // namespace
}  // namespace vexo
