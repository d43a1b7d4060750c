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

TEST_F(Relay, AnEventCarriesItsParamOrItsTextsAndLosesItsExtras) {
    IOriPlayerListenerImpl listener(&log_);
    oriplayer::Param param;
    param.putInt32(640);
    param.putCString("text", true);
    listener.notify(0x1'0001'0203LL, 306, 7, -8, param);
    listener.notify(42, 1, 2, "", "second");
    ASSERT_EQ(log_.events.size(), 2u);
    const auto &[sid, code, msg, params] = log_.events[0];
    EXPECT_EQ(sid, 0x10203) << "cut to 32 bits";
    EXPECT_EQ(std::to_string(code) + msg, "306notify_win_ios_android");
    ASSERT_EQ(params.size(), 1u);
    const auto *copy = nonstd::any_cast<oriplayer::Param>(&params.at("1"));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->getInt32(-1), 640);
    EXPECT_STREQ(copy->getCString(-1), "text");
    const Event &texts = log_.events[1];
    EXPECT_EQ(texts.sid, 0);
    EXPECT_EQ(std::to_string(texts.code) + texts.msg, "42notify_win");
    ASSERT_EQ(texts.params.size(), 2u);
    EXPECT_EQ(nonstd::any_cast<std::string>(texts.params.at("1")), "");
    EXPECT_EQ(nonstd::any_cast<std::string>(texts.params.at("2")), "second");
    EXPECT_THAT(reports_.takeLines(), ElementsAre("notify id:[66051] msg:[306] ext1:[7] ext2:[-8]\n",
                                                  "notify msg:[42] ext1:[1] ext2:[2] str:[] ovustr:[second]\n"));
}

TEST_F(Relay, ReportsGoOutUnderTheCategoryOfTheirNumber) {
    VexoReporter reporter;
    std::map<std::string, std::string> values;
    for (const int msgId : {-1, 3}) EXPECT_FALSE(reporter.report("module", 1, msgId, values)) << msgId;
    EXPECT_TRUE(reports_.take().empty());
    for (const auto &[msgId, category] : {std::pair{0, "ReportCategoryQZPLayerRtpAll"},
                                          {1, "ReportCategoryQZPLayerRtpImpirement"},
                                          {2, "ReportCategoryQZPLayerRtpError"}}) {
        if (msgId == 1) values = {{"key", "value"}, {"msgId", "text"}};
        EXPECT_TRUE(reporter.report("module", 0x1'0000'0002LL, msgId, values));
        const auto entries = reports_.take();
        ASSERT_EQ(entries.size(), 1u);
        EXPECT_EQ(entries[0].module + entries[0].category, std::string("download") + category);
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
