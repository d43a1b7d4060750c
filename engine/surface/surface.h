#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "ffmpeg.h"
#include "surface/surface_screen.h"

namespace oriplayer {

/// The window that one player draws into when no pipeline takes its pictures.
///
/// Threads: show() the picture thread's; all else any.
/// Lock:    mutex_, over the slot's and the screen's.
class Surface {
public:
    /// Told, once for each window, why nothing is seen; with no lock held.
    using Tell = std::function<void(const std::string &line)>;
    explicit Surface(Tell tell) : tell_(std::move(tell)) {}
    ~Surface() { close(); }
    Surface(const Surface &) = delete;
    Surface &operator=(const Surface &) = delete;

    /// Null: none. The same window goes on.
    void set(void *handle);
    /// The data source wants no window to be used.
    void forbid() { forbidden_ = true; }
    bool wanted() const { return handle_ != nullptr && !forbidden_; }

    /// Changes how pictures lie; false if `change(view)` says that it cannot be.
    template <typename Change> bool adjust(Change change) {
        const std::lock_guard lock(mutex_);
        if (!change(view_)) return false;
        if (slot_) slot_->setView(view_);
        if (slot_) SurfaceScreen::instance().wake();
        return true;
    }

    /// Takes a picture, 8-bit I420, which is drawn on another thread.
    void show(FramePtr picture);
    /// For good: nothing is shown any more.
    void close();

private:
    std::shared_ptr<SurfaceSlot> slot();
    void dropSlot();

    const Tell tell_;
    std::atomic<void *> handle_{nullptr};
    std::atomic<bool> forbidden_{false};
    std::mutex mutex_;
    // Guarded by mutex_.
    SurfaceView view_;
    std::shared_ptr<SurfaceSlot> slot_;
    bool closed_ = false;
};

}  // namespace oriplayer
