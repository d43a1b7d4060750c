#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "surface/surface_painter.h"

namespace oriplayer {

/// What one player wants to be seen in one window. Threads: any. Lock: mutex_, a leaf.
class SurfaceSlot {
public:
    explicit SurfaceSlot(void *handle) : handle_(handle) {}
    void *handle() const { return handle_; }

    void put(FramePtr picture, const SurfaceView &view);
    void setView(const SurfaceView &view);
    /// Waits for a drawing under way, 50 ms at most.
    void close();
    bool closed() const;
    void fail(std::string why);
    /// Why nothing is seen, once.
    std::string takeFailure();

    struct Content {
        FramePtr picture;  ///< the last one; null before the first
        SurfaceView view;
        uint32_t version = 0;  ///< another one whenever there is something new
        bool failed = false;
    };
    /// What is to be drawn, until endDrawing().
    Content beginDrawing();
    void endDrawing();

private:
    void *const handle_;
    mutable std::mutex mutex_;
    Content content_;  // guarded by mutex_, as is all below
    bool closed_ = false;
    bool drawing_ = false;
    std::condition_variable drawn_;
    std::string failure_;
};

/// Draws what all slots of the process hold, on a thread of its own, "ori-surface", that lives while there are any. A
/// window without a slot is kept for some seconds: the next player mostly draws into the same.
///
/// Threads: any. Lock: mutex_; nothing is drawn under it.
class SurfaceScreen {
public:
    static SurfaceScreen &instance();

    /// False if the system gives no thread.
    bool add(std::shared_ptr<SurfaceSlot> slot);
    /// A slot has changed.
    void wake();

private:
    struct Canvas {
        SurfacePainter painter;
        std::weak_ptr<SurfaceSlot> drawn;  ///< the slot that was drawn last
        uint32_t version = 0;
        std::chrono::steady_clock::time_point usedAt;
    };
    using Slots = std::vector<std::shared_ptr<SurfaceSlot>>;

    SurfaceScreen();
    void run();
    bool finished();
    void wait();
    Slots openSlots();
    void paint(const std::shared_ptr<SurfaceSlot> &slot);
    std::string paint(const std::shared_ptr<SurfaceSlot> &slot, const SurfaceSlot::Content &content);
    void dropUnused(const Slots &slots);

    const int wakeUp_;  ///< an event descriptor
    std::mutex mutex_;
    Slots slots_;                                         // guarded by mutex_
    bool running_ = false;                                // the same
    std::map<void *, std::unique_ptr<Canvas>> canvases_;  ///< of the thread
};

}  // namespace oriplayer
