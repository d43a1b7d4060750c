#include "input/bounded_call.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "ffmpeg_log.h"

namespace oriplayer {

namespace {

constexpr std::chrono::milliseconds kLookAtCancel{20};  // nobody tells when a plain flag turns true

struct Call {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;  // guarded by mutex
    std::atomic<bool> giveUp{false};
};

}  // namespace

bool boundedCall(std::function<void(const std::atomic<bool> &giveUp)> work, int timeoutMs,
                 const std::atomic<bool> *cancel) {
    auto call = std::make_shared<Call>();
    try {
        std::thread([call, work = std::move(work)] {
            const FfmpegLog quiet(nullptr);
            work(call->giveUp);
            std::lock_guard<std::mutex> lock(call->mutex);
            call->done = true;
            call->changed.notify_all();
        }).detach();
    } catch (const std::system_error &) {
        return false;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::unique_lock<std::mutex> lock(call->mutex);
    while (!call->done && !(cancel && cancel->load()) && std::chrono::steady_clock::now() < deadline) {
        call->changed.wait_until(lock, std::min(deadline, std::chrono::steady_clock::now() + kLookAtCancel));
    }
    if (!call->done) call->giveUp.store(true);
    return call->done;
}

}  // namespace oriplayer
