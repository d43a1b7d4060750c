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

// stop() returns within 100 ms. A thread that hangs in the system for longer is not waited for.
constexpr std::chrono::milliseconds kThreadPatience{90};
// Longer than it takes to decode one picture or to interrupt a call of a connection.
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
        // If the listener has not received the old end yet, it receives only the end of the replacement.
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

// The caller of changePeriod expects the new length from then on, also before the new source has taken over.
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

// A thread throws only if there is no memory: then the player fails and the process continues.
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
    // Otherwise this seek could interrupt the sound and clear the pictures of another one that begins at the same time.
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
    // Data of the next round has been read ahead, but that round will not be played: read again from the present
    // position.
    if (before && !looping && stage_.control.prepared() && stage_.clock.roundsAhead() > 0) {
        seek(stage_.positionUs(), SeekMode::kExact);
    }
    stage_.readWake.notify();
}

// The player's threads continue in the meantime. The reader changes hosts when the answer has arrived.
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

// The thread of the replacement may be in a call that waits for the network.
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

// The working threads cannot deliver anything any more. The reaper waits until they have ended, and the end of the
// process waits for the reaper.
void Session::leaveWorkers(bool mayWait) {
    const auto wait = [self = shared_from_this()] {
        self->threads_.waitForOthers(Role::kWorks, steady_clock::now() + kReaperPatience);
    };
    if (Reaper::instance().offer(wait) || !mayWait) return;
    threads_.waitForOthers(Role::kWorks, steady_clock::now() + kThreadPatience);
}

}  // namespace oriplayer
