#pragma once

#include <cstdint>
#include <list>
#include <mutex>
#include <string>
#include <vector>

#include "interface/export.h"

namespace vexo {

/// Sums up how well a playback went from one input, the level of its buffer: the turning points of that curve, and
/// slow samples with a score from 0 to 100 over the last 30 of them. Stands alone; whoever plays feeds it.
///
/// Units:    levels in milliseconds, at least 0 (a negative one is ignored); times in milliseconds since the epoch.
/// Threads:  any; `lock` serialises them.
class VEXO_API QZImpairInfo {
public:
    /// Follows the curve: at most the last ten extremes are kept, each with the time when the curve last stood on it.
    void onBufferLevel(int levelInMs);
    /// Takes a sample and its score, at most one every five seconds unless `force` is set.
    void addBufferSample(int levelInMs, bool force);

    /// "maxBufLevelInMs:M&bufInflectPoints:p,p,..&timeIntervForInflectPoints:0,t,.."; the curve is closed with a point
    /// at level 0 now. Empty without points.
    std::string getImpairInfoStr();
    /// "recentBitrate:" and the values; empty while there are none.
    std::string getRecentBitrateStr();
    /// The samples, oldest first, joined by ",".
    std::string getBufferSampleStr();
    /// The scores, one a sample, joined by ",".
    std::string getScoreStr();

    /// Prints the points at LOG_INFO. The caller holds `lock`.
    void dump();

    /// 40 points for a buffer that never ran dry (a sample below one second is a stall), 60 for one that stands at 300
    /// seconds; `weighted` lets late samples count more. `samples` are not empty.
    static double computeScore(const std::vector<int> &samples, bool weighted);

private:
    void appendPoint(int level);
    void moveLastPoint(int level);

    std::list<int> bufInflectPoints;
    std::list<int64_t> bufInflectTimes;
    int maxBufLevelInMs = 0;
    int bufDirection = -1;  // -1 not known yet, 0 falling, 1 rising
    std::mutex lock;
    std::vector<int> bufSamples;
    int64_t lastSampleTime = 0;
    std::vector<double> sampleScores;
    std::list<int> recentBitrate;
};

}  // namespace vexo
