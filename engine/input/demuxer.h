#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "input/interrupter.h"
#include "input/medium.h"
#include "input/source_input.h"
#include "input/stream_choice.h"
#include "input/timestamp_repair.h"

namespace oriplayer {

/// One open container with its chosen streams: gives their packets with repaired times, on the container's own origin.
/// Threads:  one at a time; interrupter() may be aborted from any.
class Demuxer {
public:
    Demuxer() = default;
    ~Demuxer() { close(); }
    Demuxer(const Demuxer &) = delete;
    Demuxer &operator=(const Demuxer &) = delete;

    /// The interrupter's time must be running.
    MediaError open(const std::string &url, const InputOptions &options, SourceInput::Failure &failure);
    void close();

    /// 0 and the next packet, or an AVERROR.
    int next(PacketPtr &packet, SourceInput::Stream &stream);
    /// By time, to a place that the container takes for one at or before it.
    MediaError seek(int64_t us);
    /// To the first packet, `us` if there is a time to it.
    MediaError rewind(int64_t us);

    const AVFormatContext *container() const { return container_; }
    const AVStream *video() const { return stream(choice_.video); }
    const AVStream *audio() const { return stream(choice_.audio); }
    /// The container has a table of its key frames: a seek by time lands on the nearest of them.
    bool indexed() const;
    /// The container's length, else the longest stream's, else 0.
    int64_t durationUs() const;
    /// No end that could be known, and more to come.
    bool live() const;
    Interrupter &interrupter() { return interrupter_; }
    /// Starts the time of a read or a seek.
    void beginReading(int timeoutMs) { interrupter_.begin(timeoutMs, bytes_); }
    const Medium &medium() const { return medium_; }
    Medium &medium() { return medium_; }

private:
    int seekByTime(int64_t us);
    MediaError openContainer(const std::string &url, const InputOptions &options);
    MediaError findStreams(const std::string &url);
    void startRepair();
    const AVStream *stream(int index) const { return index < 0 ? nullptr : container_->streams[index]; }

    Interrupter interrupter_;
    Medium medium_;
    const std::function<int64_t()> bytes_ = [this] { return medium_.mediaBytes(); };
    AVFormatContext *container_ = nullptr;
    StreamChoice choice_;
    TimestampRepair repair_;
    int late_ = 0;  ///< an AVERROR: the last packet came out of a call that was told to end
};

}  // namespace oriplayer
