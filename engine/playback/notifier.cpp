#include "playback/notifier.h"

#include <utility>

namespace oriplayer {

void Notifier::post(PlayerEvent event, Param param) {
    {
        std::lock_guard lock(mutex_);
        if (silent_) return;
        events_.push_back({event, std::move(param)});
    }
    wake_.notify();
}

void Notifier::post(PlayerEvent event, const MediaError &error) {
    Param param;
    param.putInt32(error.native);
    param.putCString(error.text.c_str(), true);
    post(event, std::move(param));
}

void Notifier::silence() {
    gate_.close();
    {
        std::lock_guard lock(mutex_);
        silent_ = true;
        events_.clear();
    }
    wake_.notify();
}

void Notifier::run() {
    for (;;) {
        Event event;
        while (next(event)) tell(event);
        {
            std::lock_guard lock(mutex_);
            if (silent_) return;
        }
        wake_.wait();
    }
}

bool Notifier::next(Event &event) {
    std::lock_guard lock(mutex_);
    if (events_.empty()) return false;
    event = std::move(events_.front());
    events_.pop_front();
    return true;
}

void Notifier::tell(const Event &event) {
    const auto listener = settings_.listener();
    if (!listener) return;
    if (const CallbackGate::Pass pass(gate_); pass) listener->notify(playerId_, event.number, 0, 0, event.param);
}

}  // namespace oriplayer
