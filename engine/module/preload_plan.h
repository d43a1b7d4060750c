#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace oriplayer {

/// Chooses the tasks that are kept warm, only by the order in which tasks were added and taken.
/// Threads: the owner guards it with its lock.
class PreloadPlan {
public:
    using Id = uint64_t;  ///< increases by one with each task
    struct Position {
        int player = 0;
        Id task = 0;
    };

    explicit PreloadPlan(std::size_t mostTasks = 20'000) : mostTasks_(mostTasks) {}

    /// Adds a task. Returns the oldest task if that was removed because there were too many.
    std::optional<Id> add(std::string url);
    Id next() const { return first_ + tasks_.size(); }  ///< the id that the next task will have
    std::size_t size() const { return tasks_.size(); }
    const std::string &url(Id id) const { return tasks_[id - first_].url; }

    /// Chooses the nearest task with this URL after the one that was taken last, or else the nearest before that.
    /// Positions of ended players are forgotten only here, because between two bounds there is no player for a moment.
    std::optional<Id> take(int player, const std::string &url, const std::function<bool(int)> &living);
    /// The first `window` tasks after each position and the first `window` tasks added since the last take(), `most` in
    /// all.
    std::vector<Id> wanted(std::size_t window, std::size_t most) const;
    /// The player whose task is just before this one.
    std::optional<int> playerInFront(Id id) const;

private:
    struct Task {
        std::string url;
        std::size_t hash = 0;
    };
    std::optional<Id> nearest(const std::string &url) const;

    const std::size_t mostTasks_;
    std::deque<Task> tasks_;
    Id first_ = 0;                     ///< id of the oldest task
    Id fresh_ = 0;                     ///< id of the first task added since the last take()
    std::vector<Position> positions_;  ///< newest last
};

}  // namespace oriplayer
