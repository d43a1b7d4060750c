#include "playback/session.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <functional>
#include <utility>

#include "ffmpeg_log.h"
#include "input/line_speed.h"
#include "module/domain_callback.h"
#include "module/reaper.h"

namespace oriplayer {

using std::chrono::steady_clock;
using Role = ThreadSet::Role;

namespace {

// stop() is back within 100 ms; a thread that hangs longer in the system is left to end by itself.
constexpr std::chrono::milliseconds kThreadPatience{90};
// Longer than decoding one picture and a connection's interrupted call take.
constexpr std::chrono::milliseconds kReaperPatience{500};

}  // namespace

bool Session::setDataSource(DataSource source) {
    std::lock_guard lock(sourceMutex_);
    if (source_ || stage_.control.preparing() || stage_.control.stopped()) return false;
    source_.emplace(std::move(source));
    if (source_->refusesSurface()) stage_.surface.forbid();
    stage_.programme.assign(source_->itemsOf(source_->sources()));
    return true;
}

bool Session::addSource(const std::shared_ptr<ISource> &source) {
    if (!source || stage_.control.over()) return false;
    std::lock_guard lock(sourceMutex_);
    if (reader_) return reader_->add(source);
    if (!source_ || !source_->period()) return false;
    source_->period()->addSource(source);
    stage_.programme.append(source_->itemOf(*source));
    return true;
}

bool Session::changePeriod(DataSource source) {
    if (!source.period() || stage_.control.over()) return false;
    std::lock_guard lock(sourceMutex_);
    if (reader_) {
        const auto replacement = std::make_shared<Replacement>(stage_, std::move(source));
        // Of an end that the listener has not heard yet, the one of the replacement is left.
        const bool withdrawn = replacement->afterEnd() && stage_.notifier.withdraw(kEventEnd);
        reader_->replace(replacement);
        const bool runs = launch("ori-change", Role::kWorks, [replacement] { replacement->run(); });
        if (!runs) {
            replacement->cancel();
            if (withdrawn) stage_.notifier.post(kEventEnd);
        }
        return runs;
    }
    if (!source_) return false;
    source_.emplace(std::move(source));
    stage_.programme.assign(source_->itemsOf(source_->sources()));
    return true;
}

// Whoever replaces the period counts with its length from then on, and may ask before it has taken over.
int64_t Session::durationUs() {
    std::lock_guard lock(sourceMutex_);
    const int64_t announced = reader_ ? reader_->announcedUs() : 0;
    return announced > 0 ? announced : stage_.programme.totalUs();
}

bool Session::prepare() {
    if (!stage_.control.prepare()) return false;
    {
        std::lock_guard lock(sourceMutex_);
        if (!source_) source_.emplace(std::vector<std::shared_ptr<PlayComponent>>(), nullptr);
        reader_ = std::make_unique<Reader>(stage_, *source_);
    }
    return launchThreads();
}

bool Session::launchThreads() {
    return launch("ori-event", Role::kTells, [this] { stage_.notifier.run(); }) &&
           launch("ori-show", Role::kTells, [this] { presenter_.run(); }) &&
           launch("ori-audio", Role::kWorks, [this] { audioPipe_.run(); }) &&
           launch("ori-video", Role::kWorks, [this] { videoPipe_.run(); }) &&
           launch("ori-read", Role::kWorks, [this] { reader_->run(); });
}

// What a thread throws is memory that is not there: the player has failed, the process goes on.
bool Session::launch(const char *name, Role role, std::function<void()> body) {
    return threads_.launch(name, role, shared_from_this(), [this, body = std::move(body)] {
        const FfmpegLog log([this](const std::string &line) { stage_.tellLog(line); });
        try {
            body();
        } catch (const std::exception &exception) {
            stage_.fail(kEventDecodeFailed, {AVERROR(ENOMEM), exception.what()});
        }
    });
}

bool Session::start() {
    if (!stage_.control.start()) return false;
    stage_.showWake.notify();
    return true;
}

void Session::pause() {
    stage_.control.pause();
    if (!stage_.control.stopped()) stage_.clock.hold();
    stage_.showWake.notify();
}

bool Session::seek(int64_t positionUs, SeekMode mode) {
    const int64_t total = stage_.programme.totalUs();
    positionUs = std::max<int64_t>(0, positionUs);
    if (total > 0 && stage_.control.prepared()) positionUs = std::min(positionUs, total);
    // A second seek in between would have its sound interrupted and its pictures cleared by this one.
    std::lock_guard lock(seekMutex_);
    const uint32_t generation = stage_.control.beginSeek(positionUs);
    if (generation == 0) return false;
    stage_.dropOutdated();
    stage_.control.postSeek({positionUs, mode, generation});
    stage_.readWake.notify();
    return true;
}

void Session::setLooping(bool looping) {
    const bool before = stage_.looping.exchange(looping);
    // What was read ahead of a round that shall not come is read anew, from where it is.
    if (before && !looping && stage_.control.prepared() && stage_.clock.roundsAhead() > 0) {
        seek(stage_.positionUs(), SeekMode::kExact);
    }
    stage_.readWake.notify();
}

// The player's threads go on meanwhile; the reader moves when the answer is there.
bool Session::changeNetwork(int state) {
    LineSpeed::forgetAll();
    const NetworkSwitchDomainCB ask = networkSwitchDomainCallback();
    const std::string url = stage_.route->url();
    if (!ask || url.empty() || stage_.control.over()) return true;
    const int question = stage_.route->ask();
    return threads_.launch("ori-domain", Role::kTells, shared_from_this(), [this, ask, url, question, state] {
        std::array<char, 4096> domains{};
        int networkState = state;
        if (stage_.control.stopped()) return;
        const int answered =
            ask(stage_.id, domains.data(), static_cast<int>(domains.size()) - 1, networkState, url.c_str(), "");
        if (answered == 0) stage_.route->answer(question, domains.data());
    });
}

bool Session::chooseSubtitles(std::vector<SubtitleFile> files) {
    if (!stage_.subtitles.choose(std::move(files))) return true;
    return launch("ori-text", Role::kWorks, [this] { stage_.subtitles.run(); });
}

// On its thread it may be in a call that waits for the network.
void Session::cancelReplacement() {
    std::lock_guard lock(sourceMutex_);
    if (reader_) reader_->replace(nullptr);
}

void Session::stop() {
    const bool first = stage_.control.stop();
    stage_.subtitles.stop();
    stage_.surface.close();
    stage_.notifier.silence();
    stage_.pictureGate.close();
    if (first && !stage_.control.ended()) stage_.clock.hold();
    stage_.dropOutdated();
    cancelReplacement();
    if (first && !stage_.control.ended()) stage_.sound.leaveToDevice(0);
    const bool inside = stage_.notifier.gate().isOutside() || stage_.pictureGate.isOutside();
    if (!inside) {
        stage_.notifier.gate().waitUntilBack();
        stage_.pictureGate.waitUntilBack();
    }
    if (!inside) threads_.waitForOthers(Role::kTells, steady_clock::now() + kThreadPatience);
    if (first && stage_.control.preparing()) leaveWorkers(!inside);
}

// Nobody hears of them any more: they come to their ends and are waited for by the reaper, which the process' end
// awaits.
void Session::leaveWorkers(bool mayWait) {
    const auto wait = [self = shared_from_this()] {
        self->threads_.waitForOthers(Role::kWorks, steady_clock::now() + kReaperPatience);
    };
    if (Reaper::instance().offer(wait) || !mayWait) return;
    threads_.waitForOthers(Role::kWorks, steady_clock::now() + kThreadPatience);
}

}  // namespace oriplayer
