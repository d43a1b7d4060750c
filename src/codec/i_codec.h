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

/// What the two processors of a player have in common: the player's main timeline, whose current engine player they
/// speak to directly, and the host's configuration.
/// Threads:  any.
/// Locks:    mTimelineLock and mPlayerLock are taken one after the other, never together, and no engine call runs under
///           them. The timeline's mutex is never taken: controls may be called inside a picture callback, for
///           which a change of bound waits under that mutex.
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
    /// The engine player of the bound that is current at this moment, or empty.
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
