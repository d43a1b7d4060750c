#include "module/warm_source.h"

#include <algorithm>
#include <utility>

#include "input/host_route.h"
#include "input/medium.h"
#include "module/low_priority.h"
#include "playlist/local_file.h"

namespace oriplayer {
namespace {

constexpr std::chrono::milliseconds kPause{20};
// A source may wait for long, so its decoder holds as few pictures as possible.
constexpr ThreadLimits kOneThread{.exactly = 1};
// A local file that was read once is in the system's cache, so little of it has to be kept here.
constexpr int64_t kMostLocalBytes = 1 << 20;

bool sameOpening(const InputOptions &a, const InputOptions &b, bool network) {
    const bool same = a.expectHls == b.expectHls && a.wantVideo == b.wantVideo && a.wantAudio == b.wantAudio &&
                      a.audioTrack == b.audioTrack;
    const bool sameRequest = a.userAgent == b.userAgent && a.headers == b.headers && a.caFile == b.caFile;
    return same && (!network || sameRequest);
}

}  // namespace

WarmSource::WarmSource(std::string url, InputOptions options, int64_t mostBytes)
    : url_(std::move(url)),
      options_([&] {
          options.cancel = &cancel_;
          return std::move(options);
      }()),
      mostBytes_(mostBytes) {}

WarmSource::~WarmSource() = default;

void WarmSource::run(const std::function<bool()> &mayWork, const std::function<void()> &stateChanged) {
    if (open(mayWork)) {
        const bool network = source_->input->network();
        auto input = source_->input->readAhead();  // after kReady a player may own the source
        {
            std::lock_guard lock(mutex_);
            state_ = State::kReady;
            changed_.notify_all();
        }
        stateChanged();
        if (readAhead(std::move(input), network, mayWork)) return;
    }
    giveUp();
    stateChanged();
}

bool WarmSource::open(const std::function<bool()> &mayWork) {
    if (localFile(url_).kind == LocalKind::kPipe) return false;  // it can be read once
    if (!pauseWhile(mayWork)) return false;
    auto source = std::make_unique<OpenedSource>();
    auto failure = SourceInput::Failure::kNone;
    if (source->open(url_, options_, kOneThread, failure)) return false;
    if (source->input->live()) return false;  // data that is read ahead would be out of date when it is played
    lowerThisThread();
    while (!source->picturesReady()) {
        if (!pauseWhile(mayWork)) return false;
        if (wanted_) break;
        if (!source->prepareOne()) return false;
    }
    source_ = std::move(source);
    return true;
}

// False if the source cannot be used.
bool WarmSource::readAhead(SourceInput::ReadAhead input, bool network, const std::function<bool()> &mayWork) {
    int64_t left = network ? mostBytes_ : std::min(mostBytes_, kMostLocalBytes);
    while (left > 0) {
        if (!pauseWhile(mayWork)) return false;
        if (wanted_) return true;
        const int bytes = input.step();
        if (bytes == AVERROR_EOF) return true;
        if (bytes < 0) return false;
        left -= bytes;
    }
    return true;
}

void WarmSource::giveUp() {
    std::unique_ptr<OpenedSource> useless;
    std::lock_guard lock(mutex_);
    if (state_ == State::kGone) return;  // its new owner will get the same error
    useless = std::move(source_);
    failed_ = true;
    state_ = State::kGone;
    changed_.notify_all();
}

// False if the source was dropped.
bool WarmSource::pauseWhile(const std::function<bool()> &mayWork) {
    while (!cancel_ && !wanted_ && !mayWork()) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, kPause, [this] { return cancel_ || wanted_; });
    }
    return !cancel_;
}

bool WarmSource::opening() const {
    std::lock_guard lock(mutex_);
    return state_ == State::kOpening;
}

bool WarmSource::failed() const {
    std::lock_guard lock(mutex_);
    return failed_;
}

void WarmSource::drop() {
    std::lock_guard lock(mutex_);
    cancel_ = true;
    changed_.notify_all();
}

std::unique_ptr<OpenedSource> WarmSource::take(const InputOptions &options, const std::atomic<bool> &cancelled) {
    std::unique_lock lock(mutex_);
    wanted_ = true;
    changed_.notify_all();
    const auto route = options.route;
    const uint32_t known = route ? route->version() : 0;
    if (route && isHttp(url_)) route->setUrl(url_);  // so that a change of network looks up its hosts
    while (state_ == State::kOpening) {
        const bool elsewhere = route && route->version() != known;  // this source still waits for the old host
        if (cancelled || elsewhere) return nullptr;
        changed_.wait_for(lock, kPause);
    }
    if (state_ != State::kReady) return nullptr;
    if (!sameOpening(options, options_, source_->input->network())) return nullptr;
    state_ = State::kGone;
    source_->input->watch(&cancelled);
    source_->input->takeRoute(url_, options.route);
    return std::move(source_);
}

}  // namespace oriplayer
