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

/// The host's end of the channel, one for the process. It can be called on several threads at once, returns soon, and
/// uses no player. An exception that leaves it is dropped.
using ReportHandler = std::function<void(const char *module, const char *category, const Json::Value &report)>;
/// Installs `handler`; an empty function, which is the default, drops reports. After it returns, the former handler is
/// not running and will not be called: what it refers to may be destroyed. Inside a handler it does not wait for calls
/// that are under way. Thread: any.
ORI_API void setReportHandler(ReportHandler handler);

}  // namespace live_stream_sdk
