#pragma once

#include <cstdint>
#include <string>

#include "base/oriplayer/listener.h"
#include "base/thread_annotations.h"

namespace vexo {

class Timeline;

/// Listens to one engine player: copies its events into the queue of its timeline, on the engine's thread.
/// Lock:  a private mutex is held while an event is posted, so that the timeline is not used after Close().
class TimelinePlayerEventListener : public oriplayer::IOriPlayerListener {
public:
    explicit TimelinePlayerEventListener(Timeline *timeline);
    ~TimelinePlayerEventListener() override;

    void notify(long long id, int what, int arg1, int arg2, const oriplayer::Param &param) override;
    void notify(int what, int arg1, int arg2, const std::string &text, const std::string &more) override;

    /// From now on no event is posted. Waits for one that is being posted, which does not wait for other threads.
    void Close();

private:
    Mutex mutex_;
    Timeline *timeline_ VEXO_GUARDED_BY(mutex_);
};

}  // namespace vexo
