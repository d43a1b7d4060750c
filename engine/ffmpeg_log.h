#pragma once

#include <functional>
#include <string>

namespace oriplayer {

/// Keeps the lines that FFmpeg logs about the engine's work off the application's standard error: as long as an object
/// of this class lives, the lines of its thread from warnings upwards go to `taker` (none: they are dropped). Lines of
/// other threads go where they went before. FFmpeg's level, which is the process's, is left alone.
///
/// A function for FFmpeg's lines that the application sets itself replaces the engine's and gets all lines.
///
/// Threads: an object belongs to the thread that makes it.
class FfmpegLog {
public:
    using Taker = std::function<void(const std::string &line)>;
    explicit FfmpegLog(Taker taker);
    ~FfmpegLog();
    FfmpegLog(const FfmpegLog &) = delete;
    FfmpegLog &operator=(const FfmpegLog &) = delete;

    /// What a codec context of the engine carries in `opaque`: its lines on FFmpeg's own threads are dropped.
    static void *mark();

private:
    friend struct FfmpegLogAccess;
    // A stream that is damaged all over has thousands of lines, of which the first tell everything.
    int linesLeft_ = 100;
    bool inside_ = false;  ///< the taker is at work
    const Taker taker_;
    FfmpegLog *const outer_;
};

}  // namespace oriplayer
