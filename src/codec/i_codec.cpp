#include "codec/i_codec.h"

#include <utility>

#include "base/log.h"
#include "base/oriplayer/player.h"
#include "timeline/timeline.h"

namespace vexo {

ICodec::~ICodec() {
    VEXO_PRINT(LOG_DEBUG, "icodec destruction configure:%p", static_cast<void *>(mConfigure.get()));
}

void ICodec::Initialize(std::shared_ptr<Timeline> timeline, std::mutex *, int a, int b) {
    MutexLock lock(mTimelineLock);
    mTimeline = std::move(timeline);
    mReserved1 = a;
    mReserved2 = b;
}

void ICodec::SetConfigure(std::shared_ptr<protocols::IConfigure> configure) {
    MutexLock lock(mTimelineLock);
    mConfigure.swap(configure);  // the former one is released with the argument, after the lock
}

std::shared_ptr<Timeline> ICodec::timeline() const {
    MutexLock lock(mTimelineLock);
    return mTimeline;
}

std::shared_ptr<oriplayer::IOriPlayer> ICodec::activePlayer() const {
    const std::shared_ptr<Timeline> timeline = this->timeline();
    if (!timeline) return nullptr;
    MutexLock lock(mPlayerLock);
    return timeline->GetActivePlayer();
}

}  // namespace vexo
