#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace oriplayer {

/// Which of the tasks are to be warm: decides alone by the order in which tasks came and were taken.
/// Threads: the owner's lock.
class PreloadPlan {
public:
    using Id = uint64_t;  ///< grows by one a task
    struct Position {
        int player = 0;
        Id task = 0;
    };

    explicit PreloadPlan(std::size_t mostTasks = 20'000) : mostTasks_(mostTasks) {}

    /// The task pushed out for it, if there were too many.
    std::optional<Id> add(std::string url);
    Id next() const { return first_ + tasks_.size(); }  ///< the id that the next task will have
    std::size_t size() const { return tasks_.size(); }
    const std::string &url(Id id) const { return tasks_[id - first_].url; }

    /// A player takes the nearest task with this URL behind the one taken before it, else the nearest in front of that.
    /// Positions of players that are gone end here: a switch passes through a moment without any player.
    std::optional<Id> take(int player, const std::string &url, const std::function<bool(int)> &living);
    /// The first `window` behind each position and the first `window` that came since the last taking, at most `most`.
    std::vector<Id> wanted(std::size_t window, std::size_t most) const;
    /// The player whose task is the one in front of this.
    std::optional<int> playerInFront(Id id) const;

private:
    struct Task {
        std::string url;
        std::size_t hash = 0;
    };
    std::optional<Id> nearest(const std::string &url) const;

    const std::size_t mostTasks_;
    std::deque<Task> tasks_;
    Id first_ = 0;                     ///< id of the first task kept
    Id fresh_ = 0;                     ///< id of the first that came since the last taking
    std::vector<Position> positions_;  ///< the latest last
};

}  // namespace oriplayer
