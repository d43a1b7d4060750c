#include "playback/hand_over.h"

namespace oriplayer {

HandOver &HandOver::instance() {
    static HandOver handOver;
    return handOver;
}

std::optional<HandOver::Time> HandOver::takeOver(Time made, Time now) {
    int64_t ended = endedAt_;
    if (ended == kNone) return std::nullopt;
    const Time at{Time::duration(ended)};
    if (at > made || now - at > kMost) return std::nullopt;
    if (!endedAt_.compare_exchange_strong(ended, kNone)) return std::nullopt;
    return at;
}

}  // namespace oriplayer
