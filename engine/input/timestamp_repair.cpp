#include "input/timestamp_repair.h"

#include <algorithm>

namespace oriplayer {

namespace {

constexpr AVRational kMicroseconds{1, 1'000'000};
// Decoding times only grow; half a second is more than the jitter of any muxer. Presentation times go back by up to 16
// pictures of reordering.
constexpr int64_t kBackInDecodeOrderUs = 500'000;
constexpr int64_t kBackInDisplayOrderUs = 2'000'000;
// A track of its own may be silent for long (a still picture under speech), so what counts is the way ahead of every
// track.
constexpr int64_t kForwardWhereJumpsAreUsualUs = 10'000'000;
constexpr int64_t kForwardElsewhereUs = 60'000'000;
// Sound and picture lie this far apart in a badly interleaved file.
constexpr int64_t kSameJumpUs = 3'000'000;
// A file that jumps at every packet must not eat memory.
constexpr std::size_t kMaxEpochs = 4096;
// A track that is behind this many packets still without a time has none.
constexpr int kMaxHomeless = 100;

// Beyond any honest time (36,000 years): sums of such numbers would overflow.
constexpr int64_t kNoTimeFromUs = INT64_MAX / 8;
constexpr int64_t kLongestPacketUs = 1'000'000'000'000;

bool leaveOutAbsurd(AVPacket &packet) {
    bool any = false;
    for (int64_t *us : {&packet.pts, &packet.dts}) {
        if (*us == AV_NOPTS_VALUE || (*us <= kNoTimeFromUs && *us >= -kNoTimeFromUs)) continue;
        *us = AV_NOPTS_VALUE;
        any = true;
    }
    if (packet.duration > kLongestPacketUs) packet.duration = 0;
    return any;
}

}  // namespace

void TimestampRepair::start(const Track &video, const Track &audio, bool jumpsExpected, int64_t endUs) {
    states_ = {State{video}, State{audio}};
    epochs_ = {{0, INT64_MIN}};
    jumpsExpected_ = jumpsExpected;
    endUs_ = endUs;
}

bool TimestampRepair::apply(AVPacket &packet, std::size_t track) {
    State &state = states_[track];
    av_packet_rescale_ts(&packet, state.track.timeBase, kMicroseconds);
    if (leaveOutAbsurd(packet)) state.track.countsFromZero = true;
    if (state.track.noPts && packet.dts != AV_NOPTS_VALUE) packet.pts = AV_NOPTS_VALUE;
    if (packet.duration <= 0) packet.duration = state.track.frameUs;

    const bool hasDts = packet.dts != AV_NOPTS_VALUE;
    const int64_t own = hasDts ? packet.dts : packet.pts;
    if (own == AV_NOPTS_VALUE) {
        if (!countOn(packet, state)) return false;
    } else {
        const bool continues = state.next != AV_NOPTS_VALUE;
        if (continues && isJump(state, own + epochs_[state.epoch].offset, hasDts)) heal(state, own);
        const int64_t offset = epochs_[state.epoch].offset;
        if (packet.pts != AV_NOPTS_VALUE) packet.pts += offset;
        if (hasDts) packet.dts += offset;
    }
    if (packet.pts == AV_NOPTS_VALUE && state.track.ptsFromDts) packet.pts = packet.dts;
    if (packet.dts == AV_NOPTS_VALUE && state.track.ptsFromDts) packet.dts = packet.pts;
    state.next = (packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts) + packet.duration;
    return true;
}

bool TimestampRepair::countOn(AVPacket &packet, State &state) {
    if (state.next == AV_NOPTS_VALUE) {
        if (!state.track.countsFromZero && ++state.homeless < kMaxHomeless) return false;
        const State &other = states_[&state == &states_[0] ? 1 : 0];
        const bool beside = !state.track.countsFromZero && other.next != AV_NOPTS_VALUE;
        state.next = beside ? other.next : 0;
    }
    packet.dts = state.next;
    return true;
}

bool TimestampRepair::isJump(const State &state, int64_t us, bool decodeOrder) const {
    if (us < state.next - (decodeOrder ? kBackInDecodeOrderUs : kBackInDisplayOrderUs)) return true;
    int64_t latest = state.next;
    for (const State &other : states_) {
        if (other.next != AV_NOPTS_VALUE) latest = std::max(latest, other.next);
    }
    if (jumpsExpected_) return us > latest + kForwardWhereJumpsAreUsualUs;
    const bool insideContainer = endUs_ != INT64_MAX && us <= endUs_ + kForwardWhereJumpsAreUsualUs;
    return !insideContainer && us > latest + kForwardElsewhereUs;
}

void TimestampRepair::heal(State &state, int64_t containerUs) {
    const std::size_t newest = epochs_.size() - 1;
    const int64_t there = containerUs + epochs_[newest].offset;
    if (state.epoch < newest && there > state.next - kSameJumpUs && there < state.next + kSameJumpUs) {
        state.epoch = newest;
        return;
    }
    const Epoch epoch{state.next - containerUs, state.next};
    if (epochs_.size() < kMaxEpochs) {
        epochs_.push_back(epoch);
    } else {
        epochs_.back() = epoch;
    }
    state.epoch = epochs_.size() - 1;
}

std::size_t TimestampRepair::epochAt(int64_t us) const {
    std::size_t index = epochs_.size() - 1;
    while (index > 0 && epochs_[index].from > us) --index;
    return index;
}

void TimestampRepair::resume(int64_t us) {
    for (State &state : states_) {
        state.epoch = epochAt(us);
        state.next = AV_NOPTS_VALUE;
        state.homeless = 0;
    }
}

}  // namespace oriplayer
