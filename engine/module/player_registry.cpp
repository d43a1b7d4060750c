#include "module/player_registry.h"

#include "playback/session.h"

namespace oriplayer {

// Never destroyed: a thread that outlives main() may still let go of a player.
PlayerRegistry &PlayerRegistry::instance() {
    static auto &registry = *new PlayerRegistry;
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

bool PlayerRegistry::anyStarves() const {
    std::vector<std::shared_ptr<Session>> living;  // let go of behind the lock
    {
        std::lock_guard lock(mutex_);
        for (const auto &[id, session] : sessions_) living.push_back(session.lock());
    }
    for (const auto &session : living) {
        if (session && session->stage().starves()) return true;
    }
    return false;
}

std::optional<int64_t> PlayerRegistry::remainingUs(int playerId) const {
    const auto session = find(playerId);
    const int64_t total = session ? session->stage().programme.totalUs() : 0;
    if (total <= 0) return std::nullopt;
    return total - session->stage().positionUs();
}

}  // namespace oriplayer
