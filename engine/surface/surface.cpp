#include "surface/surface.h"

#include <utility>

namespace oriplayer {

void Surface::set(void *handle) {
    const std::lock_guard lock(mutex_);
    if (handle_ == handle || closed_) return;
    handle_ = handle;
    dropSlot();
}

void Surface::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    handle_ = nullptr;
    dropSlot();
}

void Surface::dropSlot() {
    if (!slot_) return;
    slot_->close();
    slot_.reset();
    SurfaceScreen::instance().wake();
}

// A process that shows nothing in windows has no thread for them.
std::shared_ptr<SurfaceSlot> Surface::slot() {
    if (slot_ || closed_ || !wanted()) return slot_;
    slot_ = std::make_shared<SurfaceSlot>(handle_);
    slot_->setView(view_);
    if (!SurfaceScreen::instance().add(slot_)) slot_->fail("no thread to draw on");
    return slot_;
}

void Surface::show(FramePtr picture) {
    std::string failure;
    {
        const std::lock_guard lock(mutex_);
        const auto to = slot();
        if (!to || !picture) return;
        to->put(std::move(picture), view_);
        failure = to->takeFailure();
    }
    SurfaceScreen::instance().wake();
    if (!failure.empty()) tell_("window surface: " + failure);
}

}  // namespace oriplayer
