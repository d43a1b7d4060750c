#include "player/vexo_reporter.h"

#include <json/value.h>

#include <utility>

#include "base/live_stream_sdk.h"

namespace VexoPlayerNS {
namespace {

const char *CategoryOf(int msgId) {
    switch (msgId) {
        case 0:
            return "ReportCategoryQZPLayerRtpAll";
        case 1:
            return "ReportCategoryQZPLayerRtpImpirement";
        case 2:
            return "ReportCategoryQZPLayerRtpError";
        default:
            return nullptr;
    }
}

}  // namespace

bool VexoReporter::report(std::string moduleName, int64_t periodId, int msgId,
                          std::map<std::string, std::string> &values) {
    Json::Value report(Json::objectValue);
    report["moduleName"] = std::move(moduleName);
    report["periodId"] = static_cast<Json::Int64>(periodId);
    report["msgId"] = msgId;
    for (const auto &[key, value] : values) report[key] = value;

    const char *category = CategoryOf(msgId);
    if (!category) return false;
    live_stream_sdk::LiveStreamSDKSendReport(0, "download", category, &report, nullptr);
    return true;
}

}  // namespace VexoPlayerNS
