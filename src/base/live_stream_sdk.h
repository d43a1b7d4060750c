#pragma once

#include <functional>

#include "interface/export.h"

namespace Json {
class Value;
}

namespace live_stream_sdk {

/// The report channel. `report` points to a Json::Value that lives during the call; `reserved` is always null.
/// Thread: any; the handler runs on the calling thread.
ORI_API void LiveStreamSDKSendReport(int reserved0, const char *module, const char *category, void *report,
                                     void *reserved);

/// The host's end of the channel, one for the process; an empty function drops reports, which is the default.
/// It can be called on several threads at once, must return soon, must not throw and must use no player.
using ReportHandler = std::function<void(const char *module, const char *category, const Json::Value &report)>;
ORI_API void setReportHandler(ReportHandler handler);

}  // namespace live_stream_sdk
