#include "codec/qz_impair_info.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <locale>
#include <sstream>

#include "base/clock.h"
#include "base/log.h"

namespace vexo {
namespace {

constexpr std::size_t kMostPoints = 10;
constexpr int64_t kSampleDistanceMs = 5000;
constexpr std::ptrdiff_t kScoredSamples = 30;
constexpr double kFullBufferSeconds = 300.0;

int64_t NowMs() {
    return static_cast<int64_t>(GetCurrentTimeMs());
}

template <typename Values> std::string Joined(const char *label, const Values &values) {
    if (values.empty()) return {};
    std::ostringstream text;
    text.imbue(std::locale::classic());  // an external format, whatever locale the process has
    text << label;
    const char *separator = "";
    for (const auto &value : values) {
        text << separator << value;
        separator = ",";
    }
    return text.str();
}

}  // namespace

void QZImpairInfo::onBufferLevel(int level) {
    if (level < 0) return;
    const std::lock_guard guard(lock);
    if (bufDirection == -1) {
        if (!bufInflectPoints.empty()) {
            if (level == bufInflectPoints.back()) return;
            bufDirection = level > bufInflectPoints.back() ? 1 : 0;
        }
        appendPoint(level);
        return;
    }
    const int last = bufInflectPoints.back();
    const bool turned = bufDirection == 1 ? level < last : level > last;
    if (turned) {
        appendPoint(level);
        bufDirection = 1 - bufDirection;
    } else {
        moveLastPoint(level);
    }
}

void QZImpairInfo::appendPoint(int level) {
    if (bufInflectPoints.size() >= kMostPoints) {
        bufInflectPoints.pop_front();
        bufInflectTimes.pop_front();
    }
    bufInflectPoints.push_back(level);
    bufInflectTimes.push_back(NowMs());
    maxBufLevelInMs = std::max(maxBufLevelInMs, level);
}

void QZImpairInfo::moveLastPoint(int level) {
    bufInflectPoints.back() = level;
    bufInflectTimes.back() = NowMs();
    maxBufLevelInMs = std::max(maxBufLevelInMs, level);
}

std::string QZImpairInfo::getImpairInfoStr() {
    const std::lock_guard guard(lock);
    if (bufInflectPoints.empty()) return {};
    const bool closed = bufInflectPoints.back() != 0;
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << "maxBufLevelInMs:" << maxBufLevelInMs << '&' << Joined("bufInflectPoints:", bufInflectPoints);
    if (closed) text << ",0";
    text << "&timeIntervForInflectPoints:0";
    int64_t before = bufInflectTimes.front();
    for (auto time = std::next(bufInflectTimes.begin()); time != bufInflectTimes.end(); ++time) {
        text << ',' << *time - before;
        before = *time;
    }
    if (closed) text << ',' << NowMs() - before;
    dump();
    const std::string result = text.str();
    VEXO_PRINT(LOG_INFO, "getImpairInfoStr:%s", result.c_str());
    return result;
}

std::string QZImpairInfo::getRecentBitrateStr() {
    const std::lock_guard guard(lock);
    return Joined("recentBitrate:", recentBitrate);
}

std::string QZImpairInfo::getBufferSampleStr() {
    const std::lock_guard guard(lock);
    return Joined("", bufSamples);
}

std::string QZImpairInfo::getScoreStr() {
    const std::lock_guard guard(lock);
    return Joined("", sampleScores);
}

void QZImpairInfo::dump() {
    int index = 0;
    for (const int point : bufInflectPoints) VEXO_PRINT(LOG_INFO, "\t[%d] %d", index++, point);
}

void QZImpairInfo::addBufferSample(int level, bool force) {
    if (level < 0) return;
    const std::lock_guard guard(lock);
    const int64_t now = NowMs();
    // A clock that jumped back keeps samples away until it has caught up.
    if (!force && lastSampleTime != 0 && now - lastSampleTime < kSampleDistanceMs) return;
    bufSamples.push_back(level);
    lastSampleTime = now;
    const auto count = std::min(kScoredSamples, static_cast<std::ptrdiff_t>(bufSamples.size()));
    sampleScores.push_back(computeScore({bufSamples.end() - count, bufSamples.end()}, false));
}

double QZImpairInfo::computeScore(const std::vector<int> &samples, bool weighted) {
    const auto n = static_cast<double>(samples.size());
    int stalls = 0;
    double sum2 = 0.0;
    double sum4 = 0.0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto seconds = static_cast<int>(samples[i] / 1000.0);
        if (seconds > kFullBufferSeconds) continue;
        if (seconds < 1) ++stalls;
        const double weight = weighted ? std::tanh(static_cast<double>(i) * 2.0 / n) : 1.0;
        const double distance = (seconds - kFullBufferSeconds) / 100.0;
        const double square = distance * distance;
        sum2 += square * weight / n;
        sum4 += square * square * weight / n;
    }
    return (std::tanh(-stalls) + 1.0) * 40.0 + 60.0 / (1.0 + sum2 + sum4);
}

}  // namespace vexo
