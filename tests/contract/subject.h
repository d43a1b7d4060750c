#pragma once

#include <string>

namespace contract {

/// What the suite asks of the engine that it runs on beyond the boundary.
class Subject {
public:
    Subject();
    ~Subject();
    /// A source of one second.
    std::string url() const;
    /// Called behind start(): an engine that plays nothing says here what a player that does would.
    void play();
};

}  // namespace contract
