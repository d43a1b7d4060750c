#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/log.h"
#include "base/log_report_sink.h"
#include "base/report_log.h"
#include "player/ori_player_listener_impl.h"
#include "player/vexo_reporter.h"

namespace VexoPlayerNS {
namespace {

using testing::ElementsAre;

struct Event {
    int sid;
    int code;
    std::string msg;
    VexoParams params;
};

class EventLog : public IVexoPlayerCallback {
public:
    void onPlayEvent(int sid, int code, std::string msg, VexoParams params) override {
        events.push_back({sid, code, std::move(msg), std::move(params)});
    }
    void onVideoFrame(void **, int, int, int, int, int, int, VexoParams) override {}

    std::vector<Event> events;
};

class Relay : public testing::Test {
protected:
    Relay() { vexo::SetLogCallback(&vexo::VexoLogReportSink); }
    ~Relay() override { vexo::SetLogCallback(nullptr); }

    vexo_test::ReportLog reports_;
    EventLog log_;
};

TEST_F(Relay, AnEventCarriesItsParamAndLosesItsExtras) {
    IOriPlayerListenerImpl listener(&log_);
    oriplayer::Param param;
    param.putInt32(640);
    param.putCString("text", true);
    listener.notify(0x1'0001'0203LL, 306, 7, -8, param);
    ASSERT_EQ(log_.events.size(), 1u);
    const Event &event = log_.events[0];
    EXPECT_EQ(event.sid, 0x10203) << "cut to 32 bits";
    EXPECT_EQ(event.code, 306);
    EXPECT_EQ(event.msg, "notify_win_ios_android");
    ASSERT_EQ(event.params.size(), 1u);
    const auto *copy = nonstd::any_cast<oriplayer::Param>(&event.params.at("1"));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->getInt32(-1), 640);
    EXPECT_STREQ(copy->getCString(-1), "text");
    EXPECT_THAT(reports_.takeLines(), ElementsAre("notify id:[66051] msg:[306] ext1:[7] ext2:[-8]\n"));
}

TEST_F(Relay, ANotificationCarriesItsTexts) {
    IOriPlayerListenerImpl listener(&log_);
    listener.notify(42, 1, 2, "", "second");
    ASSERT_EQ(log_.events.size(), 1u);
    const Event &event = log_.events[0];
    EXPECT_EQ(event.sid, 0);
    EXPECT_EQ(event.code, 42);
    EXPECT_EQ(event.msg, "notify_win");
    ASSERT_EQ(event.params.size(), 2u);
    EXPECT_EQ(nonstd::any_cast<std::string>(event.params.at("1")), "");
    EXPECT_EQ(nonstd::any_cast<std::string>(event.params.at("2")), "second");
    EXPECT_THAT(reports_.takeLines(), ElementsAre("notify msg:[42] ext1:[1] ext2:[2] str:[] ovustr:[second]\n"));
}

TEST_F(Relay, ReportsGoOutUnderTheCategoryOfTheirNumber) {
    const std::map<int, std::string> categories = {{0, "ReportCategoryQZPLayerRtpAll"},
                                                   {1, "ReportCategoryQZPLayerRtpImpirement"},
                                                   {2, "ReportCategoryQZPLayerRtpError"}};
    VexoReporter reporter;
    for (int msgId = -1; msgId <= 3; ++msgId) {
        std::map<std::string, std::string> values;
        if (msgId == 1) values = {{"key", "value"}, {"msgId", "text"}};
        const auto category = categories.find(msgId);
        EXPECT_EQ(reporter.report("module", 0x1'0000'0002LL, msgId, values), category != categories.end());
        const auto entries = reports_.take();
        if (category == categories.end()) {
            EXPECT_TRUE(entries.empty()) << msgId;
            continue;
        }
        ASSERT_EQ(entries.size(), 1u);
        EXPECT_EQ(entries[0].module, "download");
        EXPECT_EQ(entries[0].category, category->second);
        Json::Value expected;
        expected["moduleName"] = "module";
        expected["periodId"] = Json::Int64{0x1'0000'0002LL};
        expected["msgId"] = msgId;
        for (const auto &[key, value] : values) expected[key] = value;
        EXPECT_EQ(entries[0].report, expected);
    }
}

}  // namespace
}  // namespace VexoPlayerNS
