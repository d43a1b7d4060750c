#pragma once

#include <string>

namespace vexoplay {

/// Lines for a descriptor that somebody else reads at his own pace: a reader that stands still holds nothing up.
/// Threads:  the main thread.
class LineOutput {
public:
    /// Does not own `descriptor`.
    explicit LineOutput(int descriptor) : descriptor_(descriptor) {}

    /// Adds a line, without its line break, and writes what the reader takes at once.
    void add(const std::string &line);
    /// Writes what the reader takes at once.
    void pump();
    /// Goes on for `timeoutMs` at most. True if everything is written.
    bool flush(int timeoutMs);
    /// Why nothing is written any more, or empty.
    const std::string &error() const { return error_; }

private:
    bool writeSome(int timeoutMs);

    const int descriptor_;
    std::string waiting_;
    std::string error_;
};

}  // namespace vexoplay
