#pragma once

#include <string>

struct _XDisplay;

namespace oriplayer {

/// A window of the application on an X display, looked at through a connection of its own: how large it is, whether it
/// is still there, whether it has to be drawn anew.
/// Threads: one. That thread's X errors end the process no more once open() was called.
class ForeignWindow {
public:
    ForeignWindow() = default;
    ~ForeignWindow();
    ForeignWindow(const ForeignWindow &) = delete;
    ForeignWindow &operator=(const ForeignWindow &) = delete;

    /// Empty, or why there is no such window.
    std::string open(void *handle);
    int width() const { return width_; }
    int height() const { return height_; }
    /// Readable when there is news.
    int descriptor() const;

    struct News {
        bool gone = false;
        bool resized = false;
        bool exposed = false;
    };
    News takeNews();

private:
    _XDisplay *display_ = nullptr;
    unsigned long window_ = 0;
    int width_ = 0;
    int height_ = 0;
};

}  // namespace oriplayer
