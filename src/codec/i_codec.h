#pragma once

#include <memory>
#include <mutex>

#include "base/protocols/configure.h"
#include "base/thread_annotations.h"
#include "interface/export.h"

namespace oriplayer {
class IOriPlayer;
}

namespace vexo {

class Timeline;

/// The common base of a player's two processors. It holds the player's main timeline, whose engine player the
/// processors call directly, and the host's configuration.
///
/// Threads:  any, including the picture thread inside onVideoFrame: nothing here waits for a command.
/// Locks:    mTimelineLock and mPlayerLock are taken one after the other, never together, and no engine call runs under
///           them. The timeline's mutex is never taken; only its copy of the player is read under mPlayerLock.
class VEXO_API ICodec {
public:
    ICodec() = default;
    virtual ~ICodec();
    ICodec(const ICodec &) = delete;
    ICodec &operator=(const ICodec &) = delete;

    /// Once, before any other use. The mutex and the two numbers have no effect.
    virtual void Initialize(std::shared_ptr<Timeline> timeline, std::mutex *mutex, int a, int b);
    virtual void SetConfigure(std::shared_ptr<protocols::IConfigure> configure);
    virtual void RegisterCodecConfigListener() = 0;
    virtual void RemoveCodecConfigListener() = 0;

protected:
    /// Empty before Initialize.
    std::shared_ptr<Timeline> timeline() const;
    /// The engine player of the current bound, or empty. While the timeline changes bounds this is the player that
    /// ends, or empty: waiting for the next one would block the picture thread, for which the change itself waits.
    std::shared_ptr<oriplayer::IOriPlayer> activePlayer() const;

private:
    std::shared_ptr<Timeline> mTimeline VEXO_GUARDED_BY(mTimelineLock);
    std::shared_ptr<protocols::IConfigure> mConfigure VEXO_GUARDED_BY(mTimelineLock);
    int mReserved1 = 0;
    int mReserved2 = 0;
    mutable Mutex mTimelineLock;
    mutable Mutex mPlayerLock;
};

}  // namespace vexo
