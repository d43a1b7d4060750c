#include "playback/replacement.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "module/preload_queue.h"

namespace oriplayer {
namespace {

constexpr std::chrono::milliseconds kLookAgain{50};  // because the end of the player does not wake this thread

}  // namespace

Replacement::Replacement(Stage &stage, DataSource data)
    : stage_(stage), afterEnd_(stage.control.ended()), result_(std::make_unique<Result>(std::move(data))) {
    result_->programme.assign(result_->data.itemsOf(result_->data.sources()));
    announcedUs_ = result_->programme.totalUs();
}

void Replacement::run() {
    const MediaError error = work();
    runUp_.reset();
    set(State::kGone);
    if (!error || cancel_ || stage_.control.over()) return;
    stage_.notifier.post(kEventReadFailed, {error.native, "replacing the source: " + error.text},
                         kArgumentOfReplacement);
    // The application that has requested a replacement after the end waits for another end. After a seek the old source
    // plays again and has an end of its own.
    if (afterEnd_ && stage_.control.ended()) stage_.notifier.post(kEventEnd);
}

MediaError Replacement::work() {
    if (MediaError error = describe()) return error;
    while (!cancel_ && !stage_.control.over()) {
        begin();
        // If the next round of a loop is being read already, it joins in that round.
        const int64_t position = stage_.clock.roundsAhead() > 0 ? 0 : stage_.positionUs();
        if (MediaError error = arrive(position)) return error;
        if (MediaError error = catchUp()) return error;
        const auto join = meet();
        if (!join || join->baseUs != baseUs_) continue;
        if (MediaError error = runUpTo(*join)) return error;
        if (offer(*join)) return {};
    }
    return {};
}

MediaError Replacement::describe() {
    const Properties properties = currentProperties();
    result_->options = result_->data.inputOptions(properties, stage_.settings.userAgent());
    result_->options.cancel = &cancel_;
    result_->threadLimits = properties.threadLimits();
    const auto sources = result_->data.sources();
    if (sources.empty()) return {AVERROR(EINVAL), "no source was given"};
    result_->programme.assign(result_->data.itemsOf(sources));
    for (std::size_t i = 0; i < sources.size() && sources.size() > 1; ++i) {
        result_->programme.declare(static_cast<int>(i), DataSource::askLength(*sources[i]));
    }
    return {};
}

void Replacement::begin() {
    generation_ = stage_.control.generation();
    baseUs_ = stage_.readBaseUs;
    set(State::kCatchingUp);
}

bool Replacement::outdated() const {
    return cancel_ || stage_.control.over() || !stage_.control.current(generation_);
}

// Goes to the position, or to the end of a programme that is shorter.
MediaError Replacement::arrive(int64_t positionUs) {
    const auto within = [this](int64_t us) {
        const int64_t total = result_->programme.totalUs();
        return total > 0 ? std::min(us, total) : us;
    };
    auto place = result_->programme.locate(within(positionUs));
    if (!runUp_ || place.index != result_->index) {
        if (MediaError error = open(place.index)) return error;
        place = result_->programme.locate(within(positionUs));  // the length is known now
    }
    result_->offsetUs = result_->programme.startOf(result_->index);
    const int64_t inSource = std::max<int64_t>(0, within(positionUs) - result_->offsetUs);
    return runUp_->goTo(inSource, result_->offsetUs + baseUs_);
}

MediaError Replacement::open(int index) {
    const std::string url = result_->programme.url(index);
    if (url.empty()) return {AVERROR(EINVAL), "opening a source without a URL"};
    runUp_.reset();
    auto source = PreloadQueue::instance().take(stage_.id, url, result_->options, result_->threadLimits, cancel_);
    if (!source || !source->input->seekable()) {
        source = std::make_unique<OpenedSource>();
        auto failure = SourceInput::Failure::kNone;
        if (MediaError error = source->open(url, result_->options, result_->threadLimits, failure)) return error;
    }
    result_->index = index;
    result_->programme.setLength(index, source->input->durationUs());
    runUp_.emplace(std::move(*source));
    return {};
}

// The time up to which the old source's pictures, or without pictures its sound, have been taken for decoding.
int64_t Replacement::presentUs() const {
    if (stage_.untimed) return INT64_MIN;
    return (stage_.counters.hasVideo ? stage_.videoPackets : stage_.audioPackets).takenUs();
}

MediaError Replacement::catchUp() {
    while (!outdated() && !runUp_->over()) {
        const int64_t present = presentUs();
        if (runUp_->reachedUs() >= present) return {};
        if (MediaError error = runUp_->step(present)) return error;
    }
    return {};
}

std::optional<Replacement::Join> Replacement::meet() {
    if (outdated()) return std::nullopt;
    set(State::kMeets);
    if (!awaitAnswer(State::kMeets, State::kJoining)) return std::nullopt;
    std::lock_guard lock(mutex_);
    return join_;
}

MediaError Replacement::runUpTo(const Join &join) {
    while (!outdated() && !runUp_->arrived(join.playUs)) {
        if (MediaError error = runUp_->step(join.playUs)) return error;
    }
    return {};
}

bool Replacement::offer(const Join &join) {
    if (outdated()) return false;
    const bool over = runUp_->over();
    result_->endUs = runUp_->endUs();
    result_->join = join;
    result_->source = runUp_->finish(join.playUs);
    if (over && result_->source.video) result_->source.video->flush();
    {
        std::lock_guard lock(mutex_);
        if (state_ == State::kJoining) state_ = State::kReady;
    }
    stage_.readWake.notify();
    awaitAnswer(State::kReady, State::kGone);
    std::lock_guard lock(mutex_);
    if (!result_) return true;
    if (state_ == State::kReady) state_ = State::kCatchingUp;  // the player is over
    runUp_->takeBack(std::move(result_->source));
    return false;
}

bool Replacement::awaitAnswer(State asked, State answer) {
    std::unique_lock lock(mutex_);
    while (state_ == asked && !cancel_ && !stage_.control.over()) changed_.wait_for(lock, kLookAgain);
    return state_ == answer;
}

void Replacement::set(State state) {
    {
        std::lock_guard lock(mutex_);
        state_ = cancel_ ? State::kGone : state;
    }
    stage_.readWake.notify();
}

void Replacement::cancel() {
    cancel_ = true;
    std::lock_guard lock(mutex_);
    state_ = State::kGone;
    changed_.notify_all();
}

Replacement::State Replacement::state() const {
    std::lock_guard lock(mutex_);
    return state_;
}

void Replacement::joinAt(Join join) {
    std::lock_guard lock(mutex_);
    if (state_ != State::kMeets) return;
    join_ = join;
    state_ = State::kJoining;
    changed_.notify_all();
}

void Replacement::goBack() {
    std::lock_guard lock(mutex_);
    if (state_ != State::kGone) state_ = State::kCatchingUp;
    changed_.notify_all();
}

std::unique_ptr<Replacement::Result> Replacement::take() {
    std::lock_guard lock(mutex_);
    if (state_ != State::kReady) return nullptr;
    state_ = State::kGone;
    changed_.notify_all();
    return std::move(result_);
}

}  // namespace oriplayer
