#pragma once

#include <functional>
#include <string>
#include <utility>

#include "base/oriplayer/listener.h"
#include "play_event.h"

namespace vexoplay {

/// Turns what the library tells into PlayEvents, without place, position and time, which the receiver adds.
/// Threads:  the library's; the receiver must not wait for a thread that calls the player.
class PlayerListener : public oriplayer::IOriPlayerListener {
public:
    explicit PlayerListener(std::function<void(PlayEvent)> receiver) : receiver_(std::move(receiver)) {}

    void notify(long long id, int msg, int ext1, int ext2, const oriplayer::Param &param) override {
        PlayEvent event;
        event.number = msg;
        event.ext1 = ext1;
        event.ext2 = ext2;
        event.timeline = static_cast<int>(id >> 16 & 0xFF);
        if (event.timeline == 1) event.item = static_cast<int>(id >> 8 & 0xFF);
        if (msg == kEventSize) {
            event.width = param.getInt32(0);
            event.height = param.getInt32(1);
        } else if (event.fatal() || msg == kEventSoundFailed) {
            event.nativeError = param.getInt32(0);
            const char *text = param.getCString(1);
            event.text = text ? text : "";
        }
        receiver_(std::move(event));
    }
    void notify(int, int, int, const std::string &, const std::string &) override {}

private:
    const std::function<void(PlayEvent)> receiver_;
};

}  // namespace vexoplay
