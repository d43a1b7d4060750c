#include "surface/foreign_window.h"

#include <X11/Xlib.h>

#include <cstdint>
#include <mutex>

namespace oriplayer {
namespace {

thread_local bool ownThread = false;
XErrorHandler handlerBefore = nullptr;

// A window may go at any moment, and the answer to a request for it is an error that ends the process by default.
int onError(Display *display, XErrorEvent *event) {
    if (ownThread || !handlerBefore) return 0;
    return handlerBefore(display, event);
}

void forgiveErrors() {
    static std::once_flag once;
    ownThread = true;
    std::call_once(once, [] { handlerBefore = XSetErrorHandler(onError); });
}

}  // namespace

std::string ForeignWindow::open(void *handle) {
    forgiveErrors();
    window_ = static_cast<Window>(reinterpret_cast<uintptr_t>(handle));
    display_ = XOpenDisplay(nullptr);
    if (!display_) return "no X display";
    XWindowAttributes attributes{};
    if (XGetWindowAttributes(display_, window_, &attributes) == 0) return "no such window";
    XSelectInput(display_, window_, StructureNotifyMask | ExposureMask);
    width_ = attributes.width;
    height_ = attributes.height;
    XFlush(display_);
    return {};
}

ForeignWindow::~ForeignWindow() {
    if (display_) XCloseDisplay(display_);
}

int ForeignWindow::descriptor() const {
    return ConnectionNumber(display_);
}

ForeignWindow::News ForeignWindow::takeNews() {
    News news;
    while (XPending(display_) > 0) {
        XEvent event{};
        XNextEvent(display_, &event);
        if (event.type == Expose) news.exposed = true;
        if (event.type == DestroyNotify) news.gone = true;
        if (event.type != ConfigureNotify) continue;
        news.resized = news.resized || event.xconfigure.width != width_ || event.xconfigure.height != height_;
        width_ = event.xconfigure.width;
        height_ = event.xconfigure.height;
    }
    return news;
}

}  // namespace oriplayer
