// What keys do.
#include <algorithm>
#include <array>
#include <utility>

#include "application.h"
#include "codec/media_keys.h"
#include "steady_clock.h"
#include "still_picture.h"

namespace vexoplay {
namespace {

constexpr int64_t kNoteUs = 4'000'000;
constexpr std::array kSpeeds{0.5, 0.75, 1.0, 1.25, 1.5, 1.75, 2.0, 2.5, 3.0, 4.0};

}  // namespace

void Application::handleKey(Key key) {
    switch (key) {
        case Key::kPause:
            session_->togglePause();
            break;
        case Key::kBack5:
            seekBy(-5'000);
            break;
        case Key::kForward5:
            seekBy(5'000);
            break;
        case Key::kBack60:
            seekBy(-60'000);
            break;
        case Key::kForward60:
            seekBy(60'000);
            break;
        case Key::kPrevious:
            if (mayLeave()) noteSeek(session_->previous());
            break;
        case Key::kNext:
            if (!session_->next()) note("no next item");
            break;
        case Key::kSlower:
            changeSpeed(-1);
            break;
        case Key::kFaster:
            changeSpeed(1);
            break;
        case Key::kQuieter:
            changeVolume(-0.05);
            break;
        case Key::kLouder:
            changeVolume(0.05);
            break;
        case Key::kMute:
            session_->toggleMute();
            break;
        case Key::kSubtitles:
            session_->toggleSubtitles();
            break;
        case Key::kFullScreen:
            if (window_) window_->toggleFullScreen();
            break;
        case Key::kStill:
            saveStillPicture();
            break;
        case Key::kInfo:
            status_.message(session_->info(vexo::KVPLAYER_INFO_KEY_ALL));
            break;
        case Key::kInterrupt:
            if (!session_->interrupt()) note("nothing to interrupt with, or nothing plays");
            break;
        case Key::kNetwork:
            toggleNetwork();
            break;
        case Key::kChange:
            changeSource();
            break;
        case Key::kQuit:
            ending_ = ending_ == Ending::kNone ? Ending::kQuit : ending_;
            break;
        case Key::kNone:
            break;
    }
    if (status_.due(INT64_MAX)) showStatus();
}

bool Application::mayLeave() {
    if (!session_->interrupted()) return true;
    note("not during an interruption");
    return false;
}

void Application::changeSource() {
    const std::string url = session_->changeSource();
    note(url.empty() ? "nothing to change to, or nothing plays" : "changing to " + url);
}

void Application::seekBy(int64_t milliseconds) {
    if (mayLeave()) noteSeek(session_->seekBy(milliseconds));
}

void Application::changeSpeed(int direction) {
    const double now = session_->speed();
    const auto above = std::upper_bound(kSpeeds.begin(), kSpeeds.end(), now);
    const auto atLeast = std::lower_bound(kSpeeds.begin(), kSpeeds.end(), now);
    if (direction > 0 && above != kSpeeds.end()) session_->setSpeed(*above);
    if (direction < 0 && atLeast != kSpeeds.begin()) session_->setSpeed(*(atLeast - 1));
}

void Application::changeVolume(double by) {
    session_->setVolume(std::clamp(session_->volume() + by, 0.0, 1.0));
}

void Application::saveStillPicture() {
    const StillResult still = saveStill(picture_, "");
    status_.message(still.error.empty() ? "saved " + still.path : still.error);
}

void Application::noteSeek(const Programme::Place &place) {
    if (!place.lengthUnknown || place.item + 1 == programme_.size()) return;
    note("length of item " + std::to_string(place.item + 1) + " unknown: the seek stays in it");
}

void Application::note(std::string text) {
    note_ = std::move(text);
    noteUntilUs_ = steadyUs() + kNoteUs;
}

}  // namespace vexoplay
