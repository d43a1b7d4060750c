#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ffmpeg.h"

namespace oriplayer {

/// The output of another program as a demuxer reads it: once, from front to end.
/// Threads: one at a time.
class PipeStream {
public:
    /// `place` is the path of a FIFO or of a character device, or the number of an open descriptor, which stays open.
    /// Null if it cannot be opened; `result` is the reason then, an AVERROR. Every wait ends when `interrupt` asks for
    /// it.
    static std::unique_ptr<PipeStream> open(const std::string &place, AVIOInterruptCB interrupt, int &result);
    ~PipeStream();
    PipeStream(const PipeStream &) = delete;
    PipeStream &operator=(const PipeStream &) = delete;

    AVIOContext *io() const { return io_; }
    int64_t bytes() const { return bytes_; }

private:
    PipeStream(int descriptor, AVIOInterruptCB interrupt);
    static int read(void *self, uint8_t *buffer, int size);

    const int descriptor_;
    const AVIOInterruptCB interrupt_;
    AVIOContext *io_ = nullptr;
    int64_t bytes_ = 0;
};

}  // namespace oriplayer
