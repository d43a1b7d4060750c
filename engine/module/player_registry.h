#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace oriplayer {

class Session;

/// The living players of the process by their ids, which are never used again.
/// Threads: any. Lock: mutex_, a leaf.
class PlayerRegistry {
public:
    static PlayerRegistry &instance();

    /// A session with a new id, known from now on.
    std::shared_ptr<Session> createSession();
    void remove(int playerId);
    /// Empty if there is none of this id.
    std::shared_ptr<Session> find(int playerId) const;
    /// A player begins, or plays and has little left that was read ahead.
    bool anyStarves() const;
    /// Programme time that a player has left; empty if it is not known.
    std::optional<int64_t> remainingUs(int playerId) const;

private:
    mutable std::mutex mutex_;
    int lastId_ = 0;                                  ///< guarded by mutex_
    std::map<int, std::weak_ptr<Session>> sessions_;  ///< guarded by mutex_
};

}  // namespace oriplayer
