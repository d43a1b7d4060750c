#include "module/preload_plan.h"

#include <algorithm>
#include <utility>

namespace oriplayer {

std::optional<PreloadPlan::Id> PreloadPlan::add(std::string url) {
    const std::size_t hash = std::hash<std::string>()(url);
    tasks_.push_back({std::move(url), hash});
    if (tasks_.size() <= mostTasks_) return std::nullopt;
    tasks_.pop_front();
    return first_++;
}

std::optional<PreloadPlan::Id> PreloadPlan::nearest(const std::string &url) const {
    const std::size_t hash = std::hash<std::string>()(url);
    std::optional<Id> best;
    uint64_t bestDistance = UINT64_MAX;
    const auto offer = [&](Id id, uint64_t distance) {
        if (distance >= bestDistance) return;
        best = id;
        bestDistance = distance;
    };
    constexpr uint64_t kInFront = uint64_t{1} << 32;  // every task behind is nearer than any in front
    for (std::size_t i = 0; i < tasks_.size(); ++i) {
        if (tasks_[i].hash != hash || tasks_[i].url != url) continue;
        const Id id = first_ + i;
        if (positions_.empty()) offer(id, i);
        for (const Position &position : positions_) {
            offer(id, id > position.task ? id - position.task : kInFront + (position.task - id));
        }
    }
    return best;
}

std::optional<PreloadPlan::Id> PreloadPlan::take(int player, const std::string &url,
                                                 const std::function<bool(int)> &living) {
    const auto id = nearest(url);
    if (!id) return std::nullopt;
    std::erase_if(positions_, [&](const Position &each) { return each.player == player || !living(each.player); });
    positions_.push_back({player, *id});
    fresh_ = next();
    return id;
}

std::vector<PreloadPlan::Id> PreloadPlan::wanted(std::size_t window, std::size_t most) const {
    std::vector<Id> result;
    const auto addFrom = [&](Id begin) {
        for (Id id = std::max(begin, first_); id < std::min<Id>(begin + window, next()); ++id) {
            const bool known = std::find(result.begin(), result.end(), id) != result.end();
            if (!known && result.size() < most) result.push_back(id);
        }
    };
    for (auto each = positions_.rbegin(); each != positions_.rend(); ++each) addFrom(each->task + 1);
    addFrom(std::max(fresh_, first_));
    return result;
}

std::optional<int> PreloadPlan::playerInFront(Id id) const {
    for (const Position &each : positions_) {
        if (each.task + 1 == id) return each.player;
    }
    return std::nullopt;
}

}  // namespace oriplayer
