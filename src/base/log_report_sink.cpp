#include "base/log_report_sink.h"

#include <json/value.h>

#include <cstdarg>
#include <cstdio>

#include "base/live_stream_sdk.h"

namespace vexo {

void VexoLogReportSink(const char *tag, const char *format, ...) {
    char text[4096] = {};
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof(text) - 1, format, arguments);
    va_end(arguments);
    if (length < 0) text[0] = '\0';  // what a failed formatting leaves behind is not a line

    Json::Value report(Json::objectValue);
    if (tag) report["tag"] = tag;
    report["msg"] = text;
    live_stream_sdk::LiveStreamSDKSendReport(0, "download", "ReportCategoryQZPLayerRtpLog", &report, nullptr);
}

}  // namespace vexo
