#pragma once

#include <cstdint>
#include <string>

namespace vexoplay {

/// What the status line tells.
struct StatusFacts {
    std::string state;  ///< "playing", "paused" ...
    int64_t positionMs = 0;
    int64_t totalMs = 0;          ///< 0: unknown
    bool totalUncertain = false;  ///< an item's length is not known
    int item = 0;                 ///< from 1; 0: none
    int items = 0;
    std::string codec;
    int width = 0;
    int height = 0;
    uint64_t dropped = 0;
    double speed = 1.0;
    int volumePercent = 100;
    bool muted = false;
    std::string note;  ///< passing news
};

/// The line for a terminal of `columns`, one column short of its width so that it never wraps; what is least missed
/// goes first, and the progress bar takes what is left.
std::string formatStatus(const StatusFacts &facts, int columns);

/// "1:02:03" or "2:03".
std::string formatTime(int64_t ms);

/// The text with everything a terminal would act on replaced by '?'; UTF-8 passes.
std::string printable(const std::string &text);

/// The line on standard error, and the messages that push it aside. Where standard error is no terminal there are only
/// messages. A terminal that takes no output (^S) is passed over.
/// Threads:  the main thread.
class StatusLine {
public:
    static constexpr int64_t kPeriodUs = 250'000;

    StatusLine();
    /// True if it is time to show() again.
    bool due(int64_t nowUs) const { return terminal_ && nowUs >= nextUs_; }
    void show(const StatusFacts &facts, int64_t nowUs);
    /// One line, "vexoplay: " and the text, kept above the status line.
    void message(const std::string &text);
    /// Removes the line, before the process stops or ends.
    void clear();

private:
    const bool terminal_;
    bool shown_ = false;
    int64_t nextUs_ = 0;
};

}  // namespace vexoplay
