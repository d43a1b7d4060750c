#include "probe_stage.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "steady_clock.h"

namespace vexoplay {

ProbeStage::ProbeStage(Programme &programme, Config config)
    : programme_(programme),
      config_(std::move(config)),
      groups_(byUrl(programme)),
      beganUs_(steadyUs()),
      running_(std::min(kAtOnce, static_cast<int>(groups_.size()))) {
    for (int i = running_; i > 0; --i) workers_.emplace_back(&ProbeStage::work, this);
}

ProbeStage::~ProbeStage() {
    cancel_ = true;
    for (std::thread &worker : workers_) worker.join();
}

std::vector<ProbeStage::Items> ProbeStage::byUrl(const Programme &programme) {
    std::vector<Items> groups;
    std::unordered_map<std::string_view, std::size_t> places;
    for (int item = 0; item < programme.size(); ++item) {
        const auto [place, fresh] = places.emplace(programme.url(item), groups.size());
        if (fresh) groups.emplace_back();
        groups[place->second].push_back(item);
    }
    return groups;
}

void ProbeStage::work() {
    for (std::size_t group = next_++; group < groups_.size() && !cancel_; group = next_++) {
        const ProbeAnswer answer = ask(programme_.url(groups_[group].front()));
        for (const int item : groups_[group]) programme_.setProbe(item, answer);
    }
    if (--running_ == 0) config_.wake();
}

int ProbeStage::patienceMs(const std::string &url) const {
    if (config_.networkBudgetMs == 0 || !isNetworkUrl(url)) return kItemMs;
    return std::min<int>(kItemMs, config_.networkBudgetMs - static_cast<int>((steadyUs() - beganUs_) / 1000));
}

ProbeAnswer ProbeStage::ask(const std::string &url) {
    ProbeAnswer answer;
    if (!config_.pipesToo && isPipe(url)) return answer;
    answer.state = ProbeAnswer::State::kNoAnswerInTime;
    oriplayer::ProbeOptions options;
    options.timeoutMs = patienceMs(url);
    if (options.timeoutMs <= 0) return answer;
    options.cancel = &cancel_;
    options.userAgent = config_.userAgent;
    options.headers = config_.headers;
    const int64_t beganUs = steadyUs();
    const bool answered = oriplayer::probeUrl(url.c_str(), options, answer.result) == 0;
    const bool inTime = !cancel_ && steadyUs() - beganUs < int64_t{options.timeoutMs} * 1000;
    if (answered) {
        answer.state = ProbeAnswer::State::kAnswered;
    } else if (inTime) {
        answer.state = ProbeAnswer::State::kFailed;
    }
    return answer;
}

}  // namespace vexoplay
