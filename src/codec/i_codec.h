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

/// The common base of a player's two processors. It holds the application's configuration and the player's main
/// timeline; the processors call the engine player of that timeline directly.
///
/// Threads:  any, including the picture thread inside onVideoFrame: no operation here waits for a command.
/// Locks:    mTimelineLock and mPlayerLock are never held together, and the engine is never called under them. The
///           timeline's mutex is not taken: under mPlayerLock only the timeline's copy of the player is read.
class VEXO_API ICodec {
public:
    ICodec() = default;
    virtual ~ICodec();
    ICodec(const ICodec &) = delete;
    ICodec &operator=(const ICodec &) = delete;

    /// Called once, before any other use. The mutex and the two numbers have no effect.
    virtual void Initialize(std::shared_ptr<Timeline> timeline, std::mutex *mutex, int a, int b);
    virtual void SetConfigure(std::shared_ptr<protocols::IConfigure> configure);
    virtual void RegisterCodecConfigListener() = 0;
    virtual void RemoveCodecConfigListener() = 0;

protected:
    /// Empty before Initialize.
    std::shared_ptr<Timeline> timeline() const;
    /// The engine player of the current bound, or empty. During a change of bounds it is the old player, or empty. It
    /// does not wait for the new one, because the change itself may be waiting for the picture thread that calls here.
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
