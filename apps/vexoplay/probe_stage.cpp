#include "probe_stage.h"

#include <algorithm>
#include <utility>

#include "steady_clock.h"

namespace vexoplay {

ProbeStage::ProbeStage(Programme &programme, Config config)
    : programme_(programme),
      config_(std::move(config)),
      beganUs_(steadyUs()),
      running_(std::min(kAtOnce, programme.size())) {
    for (int i = running_; i > 0; --i) workers_.emplace_back(&ProbeStage::work, this);
}

ProbeStage::~ProbeStage() {
    cancel_ = true;
    for (std::thread &worker : workers_) worker.join();
}

void ProbeStage::work() {
    for (int item = next_++; item < programme_.size() && !cancel_; item = next_++) {
        programme_.setProbe(item, ask(programme_.url(item)));
    }
    if (--running_ == 0) config_.wake();
}

int ProbeStage::patienceMs(const std::string &url) const {
    if (config_.networkBudgetMs == 0 || !isNetworkUrl(url)) return kItemMs;
    return std::min<int>(kItemMs, config_.networkBudgetMs - static_cast<int>((steadyUs() - beganUs_) / 1000));
}

ProbeAnswer ProbeStage::ask(const std::string &url) {
    ProbeAnswer answer;
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
