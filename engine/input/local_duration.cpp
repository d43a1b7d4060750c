#include "playlist/local_duration.h"

#include <memory>

#include "input/bounded_call.h"
#include "input/demuxer.h"

namespace oriplayer {

namespace {
constexpr int kTimeoutMs = 2000;  // a play list is being built while this is waited for
}

double probeLocalDuration(const std::string &path) {
    auto seconds = std::make_shared<double>(0.0);
    const auto ask = [seconds, path](const std::atomic<bool> &giveUp) {
        InputOptions options;
        options.timeoutMs = kTimeoutMs;
        options.cancel = &giveUp;
        Demuxer demuxer;
        demuxer.interrupter().watch(options.cancel);
        demuxer.interrupter().begin(options.timeoutMs);
        auto failure = SourceInput::Failure::kNone;
        if (!demuxer.open(path, options, failure)) *seconds = static_cast<double>(demuxer.durationUs()) / 1e6;
    };
    return boundedCall(ask, kTimeoutMs, nullptr) ? *seconds : 0.0;
}

}  // namespace oriplayer
