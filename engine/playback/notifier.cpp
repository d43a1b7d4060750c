#include "playback/notifier.h"

#include <utility>

#include "base/protocols/reporter.h"

namespace oriplayer {

void Notifier::put(Event event) {
    {
        std::lock_guard lock(mutex_);
        if (silent_) return;
        events_.push_back(std::move(event));
    }
    wake_.notify();
}

void Notifier::post(PlayerEvent event, Param param) {
    put({event, std::move(param), false, {}, 0});
}

void Notifier::post(ReportKind kind, ReportValues values) {
    put({kind, {}, true, std::move(values), 0});
}

void Notifier::post(PlayerEvent event, const MediaError &error, int argument) {
    Param param;
    param.putInt32(error.native);
    param.putCString(error.text.c_str(), true);
    put({event, std::move(param), false, {}, argument});
}

bool Notifier::withdraw(PlayerEvent event) {
    std::lock_guard lock(mutex_);
    return std::erase_if(events_, [event](const Event &one) { return !one.isReport && one.number == event; }) > 0;
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

void Notifier::tell(Event &event) {
    if (event.isReport) {
        const auto reporter = settings_.reporter();
        if (!reporter) return;
        if (const CallbackGate::Pass pass(gate_); pass)
            reporter->report("oriplayer", playerId_, event.number, event.values);
        return;
    }
    const auto listener = settings_.listener();
    if (!listener) return;
    if (const CallbackGate::Pass pass(gate_); pass) {
        listener->notify(playerId_, event.number, event.argument, 0, event.param);
    }
}

}  // namespace oriplayer
