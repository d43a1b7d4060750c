#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

#include "base/live_stream_sdk.h"

namespace live_stream_sdk {
namespace {

struct Installed {
    explicit Installed(ReportHandler given) : handler(std::move(given)) {}
    const ReportHandler handler;
    int running = 0;  ///< calls, guarded by Channel::mutex
};

struct Channel {
    std::mutex mutex;
    std::condition_variable idle;  ///< a call has returned
    std::shared_ptr<Installed> current;
};

// Never destroyed, because log lines may be reported while the process ends.
Channel &channel() {
    static auto &instance = *new Channel;
    return instance;
}

thread_local int callsOnThisThread = 0;

void call(const ReportHandler &handler, const char *module, const char *category, const Json::Value &report) {
    ++callsOnThisThread;
    try {
        handler(module, category, report);
    } catch (...) {  // it must not reach the thread that reports
    }
    --callsOnThisThread;
}

}  // namespace

// A thread inside a handler does not wait: it could be waiting for its own call, or for a thread that waits for it.
void setReportHandler(ReportHandler handler) {
    auto other = handler ? std::make_shared<Installed>(std::move(handler)) : nullptr;
    std::unique_lock lock(channel().mutex);
    channel().current.swap(other);
    if (other && callsOnThisThread == 0) channel().idle.wait(lock, [&] { return other->running == 0; });
}

// The handler runs without the lock, because it may install another one.
void LiveStreamSDKSendReport(int, const char *module, const char *category, void *report, void *) {
    if (!report) return;
    std::shared_ptr<Installed> installed;
    {
        std::lock_guard lock(channel().mutex);
        installed = channel().current;
        if (!installed) return;
        ++installed->running;
    }
    call(installed->handler, module, category, *static_cast<const Json::Value *>(report));
    std::lock_guard lock(channel().mutex);
    if (--installed->running == 0) channel().idle.notify_all();
}

}  // namespace live_stream_sdk
