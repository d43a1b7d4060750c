#include "module/player_registry.h"

#include "playback/session.h"

namespace oriplayer {

namespace {

// FFmpeg writes each damaged packet to standard error, which is the application's. A level that the application has
// chosen for its own use of FFmpeg stays.
void quietFfmpeg() {
    if (av_log_get_level() == AV_LOG_INFO) av_log_set_level(AV_LOG_FATAL);
}

}  // namespace

// Never destroyed: a thread that outlives main() may still let go of a player.
PlayerRegistry &PlayerRegistry::instance() {
    static auto &registry = *[] {
        quietFfmpeg();
        return new PlayerRegistry;
    }();
    return registry;
}

std::shared_ptr<Session> PlayerRegistry::createSession() {
    std::lock_guard lock(mutex_);
    auto session = std::make_shared<Session>(++lastId_);
    sessions_[lastId_] = session;
    return session;
}

void PlayerRegistry::remove(int playerId) {
    std::lock_guard lock(mutex_);
    sessions_.erase(playerId);
}

std::shared_ptr<Session> PlayerRegistry::find(int playerId) const {
    std::lock_guard lock(mutex_);
    const auto found = sessions_.find(playerId);
    return found == sessions_.end() ? nullptr : found->second.lock();
}

}  // namespace oriplayer
