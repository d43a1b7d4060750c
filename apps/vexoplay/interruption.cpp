#include "interruption.h"

#include <algorithm>

#include "base/oriplayer/play_list.h"
#include "mixed/mixed_codecs_player.h"

namespace vexoplay {
namespace {

constexpr int kIsolated = 1;

std::shared_ptr<oriplayer::IPeriod> periodOf(const std::string &url, const Interruption::Headers &headers) {
    auto map = std::make_shared<oriplayer::StringMap>();
    for (const auto &[name, value] : headers) map->add(("http_header:" + name).c_str(), value.c_str());
    auto period = oriplayer::IPeriod::create();
    period->setHeaders(map);
    period->setSourceKind(1);
    period->addSource(oriplayer::ISource::create(url.c_str(), 0.0));
    return period;
}

std::vector<InterruptionPoint> inOrder(std::vector<InterruptionPoint> points) {
    std::stable_sort(points.begin(), points.end(),
                     [](const auto &one, const auto &other) { return one.positionMs < other.positionMs; });
    return points;
}

}  // namespace

Interruption::Interruption(std::vector<InterruptionPoint> points, std::vector<std::string> byHand, Headers headers)
    : points_(inOrder(std::move(points))), byHand_(std::move(byHand)), headers_(std::move(headers)) {}

void Interruption::rearm() {
    {
        std::lock_guard lock(mutex_);
        next_ = 0;
        handAsked_ = false;
        waiting_ = active_ = false;
    }
    gate_.open();
}

bool Interruption::ask() {
    if (byHand_.empty() || active_) return false;
    std::lock_guard lock(mutex_);
    handAsked_ = true;
    return true;
}

bool Interruption::due(int64_t positionUs) {
    std::lock_guard lock(mutex_);
    if (waiting_) return false;
    if (handAsked_) {
        handAsked_ = false;
        urls_ = byHand_;
    } else if (next_ < points_.size() && positionUs >= points_[next_].positionMs * 1000) {
        urls_ = points_[next_++].urls;
    } else {
        return false;
    }
    waiting_ = true;
    gate_.close();
    return true;
}

// Started at once, as the programme itself is: a file that fails can be left only while its timeline is started.
void Interruption::begin(vexo::MixedCodecsPlayer &player) {
    std::vector<std::string> urls;
    {
        std::lock_guard lock(mutex_);
        urls = urls_;
        waiting_ = false;
        active_ = true;
    }
    player.pause();
    for (const std::string &url : urls) player.addPeriod(kIsolated, -1, periodOf(url, headers_), nullptr);
    player.prepareAsync(kIsolated);
    player.start(kIsolated);
}

// From the back, so that no file behind the failed one is opened on the way.
bool Interruption::abandon(vexo::MixedCodecsPlayer &player) {
    std::size_t count = 0;
    {
        std::lock_guard lock(mutex_);
        count = urls_.size();
    }
    while (count > 0) player.delPeriod(kIsolated, static_cast<int>(--count));
    if (player.getActiveIndex() != kIsolated) return true;
    player.start(0);
    return false;
}

void Interruption::finish(vexo::MixedCodecsPlayer &player) {
    player.clearPeriods(kIsolated);
    active_ = false;
}

std::string Interruption::url(int index) const {
    std::lock_guard lock(mutex_);
    const auto place = static_cast<std::size_t>(index);
    return index >= 0 && place < urls_.size() ? urls_[place] : std::string();
}

}  // namespace vexoplay
