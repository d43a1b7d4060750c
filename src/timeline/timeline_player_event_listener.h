#pragma once

#include <cstdint>
#include <string>

#include "base/oriplayer/listener.h"
#include "base/thread_annotations.h"

namespace vexo {

class Timeline;

/// The ear of one engine player: copies what it says into its timeline's queue, on the engine's thread.
/// Lock:  a private mutex round the post, so that behind Close() the timeline is not touched any more.
class TimelinePlayerEventListener : public oriplayer::IOriPlayerListener {
public:
    explicit TimelinePlayerEventListener(Timeline *timeline);
    ~TimelinePlayerEventListener() override;

    void notify(long long id, int what, int arg1, int arg2, const oriplayer::Param &param) override;
    void notify(int what, int arg1, int arg2, const std::string &text, const std::string &more) override;

    /// From here on nothing is posted. Waits for a post under way, which waits for nobody.
    void Close();

private:
    Mutex mutex_;
    Timeline *timeline_ VEXO_GUARDED_BY(mutex_);
};

}  // namespace vexo
