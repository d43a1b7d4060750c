#pragma once

#include <memory>
#include <string>

#include "base/oriplayer/player.h"

namespace contract {

/// What the suite asks of the engine that it runs on beyond the boundary.
class Subject {
public:
    Subject();
    ~Subject();
    /// A source of one second.
    std::string url() const;
    /// Makes a player that will prepare, and play to its end once it is started.
    std::shared_ptr<oriplayer::IOriPlayer> create();
    /// Called behind start(): an engine that plays nothing says here what a player that does would.
    void play();
};

}  // namespace contract
