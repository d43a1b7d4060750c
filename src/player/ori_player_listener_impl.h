#pragma once

#include "base/oriplayer/listener.h"
#include "interface/vexo_player_callback.h"

namespace VexoPlayerNS {

/// Converts the events of the timelines to the arguments of onPlayEvent. It does not change the numbers.
/// Threads:  the loopers of a player; nothing changes after the constructor.
/// Life:     `callback`, which may be null, must exist until the last call of notify has returned.
class IOriPlayerListenerImpl : public oriplayer::IOriPlayerListener {
public:
    explicit IOriPlayerListenerImpl(IVexoPlayerCallback *callback);

    /// Label "notify_win_ios_android", the Param under "1"; `id` is cut to its lower 32 bits.
    void notify(long long id, int msg, int ext1, int ext2, const oriplayer::Param &param) override;
    /// Label "notify_win", the two texts under "1" and "2", identity 0.
    void notify(int msg, int ext1, int ext2, const std::string &str, const std::string &ovustr) override;

private:
    IVexoPlayerCallback *const mCallback;
};

}  // namespace VexoPlayerNS
