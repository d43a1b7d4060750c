#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "codec/qz_impair_info.h"

namespace vexoplay {

/// How the buffer held over time, for people and for other programs.
/// Threads:  the main thread.
class BufferReport {
public:
    static constexpr int64_t kPeriodUs = 250'000;

    struct Level {
        int64_t atMs = 0;  ///< since the start of the program
        int levelMs = 0;
    };
    struct Score {
        int64_t atMs = 0;
        double score = 0.0;  ///< 0 to 100
    };
    struct History {
        std::vector<Level> levels;
        std::vector<Score> scores;
        std::vector<int64_t> switchesMs;  ///< an item or an interrupting file has been entered
        std::vector<int64_t> stallsMs;    ///< playing stood because nothing was read
    };

    explicit BufferReport(int64_t beganUs) : beganUs_(beganUs) {}

    bool due(int64_t nowUs) const { return nowUs >= nextUs_; }
    /// `stalls` as the engine player `playerId` has counted them so far.
    void sample(int playerId, int levelMs, int stalls, int64_t nowUs);
    /// Takes the library's whole record on the playback of an item, in their order.
    void addRecord(int item, std::string text);

    /// The report as JSON; the record is the last item's.
    std::string json();
    const History &history() const { return history_; }

private:
    struct Record {
        int item = 0;
        std::string text;
    };
    void addScores(int64_t atMs);

    const int64_t beganUs_;
    int64_t nextUs_ = 0;
    int playerId_ = -1;
    std::map<int, int> stalls_;  ///< by player id: an interrupted item goes on counting
    History history_;
    std::vector<Record> records_;
    vexo::QZImpairInfo impairment_;
};

/// The picture of it: level in seconds on the left, score on the right, seconds of wall time below.
std::string plotSvg(const BufferReport::History &history);

/// The number of stalls in the library's monitor text; 0 if there is none.
int stallsIn(const std::string &monitorText);

/// Empty, or why the text could not be written.
std::string writeText(const std::string &path, const std::string &text);

}  // namespace vexoplay
