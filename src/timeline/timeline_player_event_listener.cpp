#include "timeline/timeline_player_event_listener.h"

#include "base/log.h"
#include "timeline/timeline.h"

namespace vexo {

TimelinePlayerEventListener::TimelinePlayerEventListener(Timeline *timeline) : timeline_(timeline) {}

TimelinePlayerEventListener::~TimelinePlayerEventListener() = default;

void TimelinePlayerEventListener::notify(long long id, int what, int arg1, int arg2, const oriplayer::Param &param) {
    VEXO_PRINT(LOG_DEBUG, "Timeline event %p :%d, id:%lld", static_cast<void *>(this), what, id);
    if (what == kEventEngineLog) {
        const oriplayer::Param copy(param);  // read from its first value, and the engine's cursor stays where it is
        const char *text = copy.getCString(-1);
        const LogFunction sink = GetLogCallback();
        if (text && sink) sink(nullptr, "%s", text);
        return;
    }
    MutexLock lock(mutex_);
    if (timeline_) timeline_->PostMessage_(id, what, arg1, arg2, param);
}

void TimelinePlayerEventListener::notify(int, int, int, const std::string &, const std::string &) {}

void TimelinePlayerEventListener::Close() {
    MutexLock lock(mutex_);
    timeline_ = nullptr;
}

}  // namespace vexo
