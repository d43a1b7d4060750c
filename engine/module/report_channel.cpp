#include <memory>
#include <mutex>
#include <utility>

#include "base/live_stream_sdk.h"

namespace live_stream_sdk {
namespace {

struct Channel {
    std::mutex mutex;
    std::shared_ptr<const ReportHandler> handler;
};

// Never destroyed: log lines may leave while the process ends.
Channel &channel() {
    static auto &instance = *new Channel;
    return instance;
}

}  // namespace

void setReportHandler(ReportHandler handler) {
    auto next = handler ? std::make_shared<const ReportHandler>(std::move(handler)) : nullptr;
    std::lock_guard lock(channel().mutex);
    channel().handler.swap(next);
}

// The handler runs without the lock: it may install another one.
void LiveStreamSDKSendReport(int, const char *module, const char *category, void *report, void *) {
    std::shared_ptr<const ReportHandler> handler;
    {
        std::lock_guard lock(channel().mutex);
        handler = channel().handler;
    }
    if (handler && report) (*handler)(module, category, *static_cast<const Json::Value *>(report));
}

}  // namespace live_stream_sdk
