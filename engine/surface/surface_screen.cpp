#include "surface/surface_screen.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace oriplayer {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::seconds kUnusedTime{3};
constexpr int kLookMs = 1000;  // for windows that are no longer used

}  // namespace

void SurfaceSlot::put(FramePtr picture, const SurfaceView &view) {
    const std::lock_guard lock(mutex_);
    if (closed_ || content_.failed) return;
    std::swap(content_.picture, picture);
    content_.view = view;
    ++content_.version;
}

void SurfaceSlot::setView(const SurfaceView &view) {
    const std::lock_guard lock(mutex_);
    if (content_.view == view) return;
    content_.view = view;
    ++content_.version;
}

void SurfaceSlot::close() {
    constexpr std::chrono::milliseconds kPatience{50};
    std::unique_lock lock(mutex_);
    closed_ = true;
    content_.picture.reset();
    drawn_.wait_for(lock, kPatience, [this] { return !drawing_; });
}

bool SurfaceSlot::closed() const {
    const std::lock_guard lock(mutex_);
    return closed_;
}

void SurfaceSlot::fail(std::string why) {
    const std::lock_guard lock(mutex_);
    content_.failed = true;
    content_.picture.reset();
    failure_ = std::move(why);
}

std::string SurfaceSlot::takeFailure() {
    const std::lock_guard lock(mutex_);
    return std::exchange(failure_, std::string());
}

SurfaceSlot::Content SurfaceSlot::beginDrawing() {
    const std::lock_guard lock(mutex_);
    drawing_ = true;
    FramePtr picture(content_.picture ? av_frame_clone(content_.picture.get()) : nullptr);
    return {std::move(picture), content_.view, content_.version, content_.failed};
}

void SurfaceSlot::endDrawing() {
    {
        const std::lock_guard lock(mutex_);
        drawing_ = false;
    }
    drawn_.notify_all();
}

SurfaceScreen &SurfaceScreen::instance() {
    static auto *const screen = new SurfaceScreen;  // its thread may outlive what is destroyed at the end
    return *screen;
}

SurfaceScreen::SurfaceScreen() : wakeUp_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

bool SurfaceScreen::add(std::shared_ptr<SurfaceSlot> slot) {
    const std::lock_guard lock(mutex_);
    slots_.push_back(std::move(slot));
    if (running_) return true;
    try {
        std::thread([this] { run(); }).detach();
        running_ = true;
    } catch (const std::system_error &) {
        slots_.pop_back();
    }
    return running_;
}

void SurfaceScreen::wake() {
    const uint64_t one = 1;
    [[maybe_unused]] const auto written = write(wakeUp_, &one, sizeof one);  // full is awake as well
}

void SurfaceScreen::run() {
    pthread_setname_np(pthread_self(), "ori-surface");
    while (!finished()) {
        const Slots slots = openSlots();
        for (const auto &slot : slots) paint(slot);
        dropUnused(slots);
        wait();
    }
}

bool SurfaceScreen::finished() {
    const std::lock_guard lock(mutex_);
    if (!slots_.empty() || !canvases_.empty()) return false;
    running_ = false;
    return true;
}

SurfaceScreen::Slots SurfaceScreen::openSlots() {
    const std::lock_guard lock(mutex_);
    std::erase_if(slots_, [](const auto &slot) { return slot->closed(); });
    return slots_;
}

void SurfaceScreen::paint(const std::shared_ptr<SurfaceSlot> &slot) {
    const SurfaceSlot::Content content = slot->beginDrawing();
    if (content.picture && !content.failed) {
        if (std::string why = paint(slot, content); !why.empty()) {
            slot->fail(std::move(why));
            canvases_.erase(slot->handle());
        }
    }
    slot->endDrawing();
}

std::string SurfaceScreen::paint(const std::shared_ptr<SurfaceSlot> &slot, const SurfaceSlot::Content &content) {
    auto &canvas = canvases_[slot->handle()];
    if (!canvas) {
        canvas = std::make_unique<Canvas>();
        if (std::string why = canvas->painter.open(slot->handle()); !why.empty()) return why;
    }
    canvas->usedAt = steady_clock::now();
    if (std::string why = canvas->painter.followWindow(content.picture.get(), content.view); !why.empty()) return why;
    if (canvas->drawn.lock() == slot && canvas->version == content.version) return {};
    canvas->drawn = slot;
    canvas->version = content.version;
    return canvas->painter.show(*content.picture, content.view);
}

void SurfaceScreen::dropUnused(const Slots &slots) {
    const auto now = steady_clock::now();
    std::erase_if(canvases_, [&](auto &entry) {
        const bool used =
            std::any_of(slots.begin(), slots.end(), [&](const auto &slot) { return slot->handle() == entry.first; });
        if (used) return false;
        const bool gone = !entry.second->painter.followWindow(nullptr, SurfaceView()).empty();
        return gone || now - entry.second->usedAt > kUnusedTime;
    });
}

void SurfaceScreen::wait() {
    std::vector<pollfd> waits{{wakeUp_, POLLIN, 0}};
    for (const auto &[handle, canvas] : canvases_) waits.push_back({canvas->painter.descriptor(), POLLIN, 0});
    poll(waits.data(), waits.size(), kLookMs);
    uint64_t count = 0;
    [[maybe_unused]] const auto taken = read(wakeUp_, &count, sizeof count);
}

}  // namespace oriplayer
