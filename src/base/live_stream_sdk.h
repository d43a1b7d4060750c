#pragma once

#include <functional>

#include "interface/export.h"

namespace Json {
class Value;
}

namespace live_stream_sdk {

/// Sends a report to the installed handler, which runs on the calling thread. `report` points to a Json::Value; null
/// sends nothing. `reserved` is always null. Thread: any.
ORI_API void LiveStreamSDKSendReport(int reserved0, const char *module, const char *category, void *report,
                                     void *reserved);

/// Receives the reports of the whole process. Several threads may call it at the same time. It must return soon and
/// must not use a player. `report` is valid during the call. An exception that leaves the handler is dropped.
using ReportHandler = std::function<void(const char *module, const char *category, const Json::Value &report)>;
/// Installs `handler`; an empty function, which is the default, drops reports. Waits for running calls of the former
/// handler, which is not called again: once this returns, what it refers to may be destroyed. A call inside a handler
/// does not wait, so the former handler may still be running when it returns. Thread: any.
ORI_API void setReportHandler(ReportHandler handler);

}  // namespace live_stream_sdk
