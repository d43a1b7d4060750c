#include "base/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cwchar>
#include <string>

#include "base/log_report_sink.h"
#include "base/report_log.h"

namespace vexo {
namespace {

using testing::ElementsAre;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

const LogFunction kStart = GetLogCallback();

class LogTest : public testing::Test {
protected:
    ~LogTest() override {
        SetLogLevel(LOG_ERROR);
        SetLogCallback(kStart);
    }
};

TEST_F(LogTest, StatementsPrintFromTheirLevelOn) {
    struct Row {
        int level;
        int severity;
        bool prints;
    };
    for (const Row &row :
         {Row{LOG_ERROR, LOG_INFO, false}, Row{LOG_ERROR, LOG_ERROR, true}, Row{LOG_INFO, LOG_DEBUG, false},
          Row{LOG_INFO, LOG_INFO, true}, Row{LOG_INFO, LOG_ERROR, true}, Row{LOG_VERBOSE, LOG_VERBOSE, true}}) {
        SetLogLevel(row.level);
        int evaluated = 0;
        CaptureStdout();
        VEXO_PRINT(row.severity, "%d", ++evaluated);
        EXPECT_EQ(!GetCapturedStdout().empty(), row.prints) << row.level << ' ' << row.severity;
        EXPECT_EQ(evaluated, row.prints ? 1 : 0);
    }
}

TEST_F(LogTest, ThePrintedFrameNamesFunctionAndLine) {
    CaptureStdout();
    const int line = __LINE__ + 1;
    VEXO_PRINT(LOG_ERROR, "%s is null", "source");
    EXPECT_EQ(GetCapturedStdout(),
              " [" + std::string(__PRETTY_FUNCTION__) + ":" + std::to_string(line) + "] source is null\n");
}

std::string sSunk;
void RememberFormat(const char *tag, const char *format, ...) {
    sSunk = std::string(tag) + "|" + format;
}

TEST_F(LogTest, TheSinkGetsTagAndFormatUntouchedAtAnyLevel) {
    sSunk.clear();
    VEXO_SINK("before any player %d\n", 1);  // the function of the start drops it
    SetLogLevel(100);
    SetLogCallback(&RememberFormat);
    if (sSunk.empty())
        VEXO_SINK("stop %d\n", 7);
    else
        ADD_FAILURE() << "one statement, also between if and else";
    EXPECT_EQ(sSunk, "VEXO_LOG|stop %d\n");
    SetLogCallback(nullptr);
    VEXO_SINK("dropped");
    EXPECT_EQ(sSunk, "VEXO_LOG|stop %d\n");
}

TEST_F(LogTest, SinkLinesBecomeReports) {
    vexo_test::ReportLog reports;
    SetLogCallback(&VexoLogReportSink);
    VEXO_SINK("onPlayEvent call sid:[%d]\n", 65536);
    const auto entries = reports.take();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].module, "download");
    EXPECT_EQ(entries[0].category, "ReportCategoryQZPLayerRtpLog");
    EXPECT_THAT(entries[0].report.getMemberNames(), ElementsAre("msg", "tag"));
    EXPECT_EQ(entries[0].report["tag"].asString(), "VEXO_LOG");
    EXPECT_EQ(entries[0].report["msg"].asString(), "onPlayEvent call sid:[65536]\n");
}

TEST_F(LogTest, OddLinesStillArrive) {
    vexo_test::ReportLog reports;
    VexoLogReportSink(nullptr, "%s", "100% %s of the engine's own text");
    const std::string digits(4093, '5');
    VexoLogReportSink("t", "%s", (digits + "67" + digits).c_str());
    const wchar_t noCharacter[] = {static_cast<wchar_t>(0x110000), L'\0'};
    VexoLogReportSink("t", "half %ls", noCharacter);

    const auto entries = reports.take();
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_THAT(entries[0].report.getMemberNames(), ElementsAre("msg"));
    EXPECT_EQ(entries[0].report["msg"].asString(), "100% %s of the engine's own text");
    EXPECT_EQ(entries[1].report["msg"].asString(), digits + "6") << "4094 characters survive";
    EXPECT_EQ(entries[2].report["msg"].asString(), "") << "a line that cannot be formatted is empty";
}

}  // namespace
}  // namespace vexo
