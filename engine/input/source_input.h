#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ffmpeg.h"

namespace oriplayer {

class HostRoute;
class VariantSet;

/// How a source is opened; filled from the process's properties, the player's settings and the period's headers.
struct InputOptions {
    std::string userAgent;                                     ///< empty: FFmpeg's
    std::vector<std::pair<std::string, std::string>> headers;  ///< request headers, also on sub-requests
    std::string caFile;                                        ///< empty: the system's authorities
    int timeoutMs = 8000;    ///< for opening in all (redirects, probing), and without a byte in each read or seek
    int waitedMs = 0;        ///< of the time for opening, what waiting for this source has used up already
    bool expectHls = false;  ///< the container is an HLS play list whatever the URL looks like
    bool wantVideo = true;
    bool wantAudio = true;
    std::string audioTrack;                     ///< number among the audio streams, or a language; empty: FFmpeg's best
    std::shared_ptr<HostRoute> route;           ///< where requests go after a change of network; may be null
    VariantSet *variants = nullptr;             ///< what is shown of an HLS set; may be null; outlives the demuxer
    const std::atomic<bool> *cancel = nullptr;  ///< true is as good as interrupt(); it outlives the SourceInput
};

/// One opened source: finds its streams, reads packets in order, seeks. Knows nothing of players.
///
/// Threads:    one thread at a time uses it (the reader); interrupt() alone may come from any thread. Beside it another
///             one may read ahead, see ReadAhead.
/// Bounds:     open returns within timeoutMs in all; read and seek within timeoutMs of the last byte that came, and
/// within
///             eight times that in all (AVERROR(ETIMEDOUT)). Waiting for more of a live play list may take four times
///             as long. All return within about 100 ms of interrupt() (AVERROR_EXIT) wherever the operating system lets
///             go of the call.
/// Positions:  microseconds from the source's first moment. 0 is the first picture if it comes at most 50 ms behind the
///             first sound, else the first of both. Packets leave read() with pts, dts and duration on that scale
///             (time base 1/1000000), made continuous where the container's own timestamps jump. Sound before the first
///             moment has a pts below 0: decoders need it, listeners do not. A picture's pts may be missing
///             (AV_NOPTS_VALUE) where the container stores decoding times only.
class SourceInput {
public:
    enum class Failure { kNone, kCannotOpen, kNothingPlayable };
    enum class Stream { kVideo, kAudio };

private:
    struct Impl;

public:
    /// Reads ahead what read() gives later, on a thread of its own: an owner that comes in between has the source at
    /// once, and waits for what is being read only when it is due. Outlives the source.
    class ReadAhead {
    public:
        /// Bytes of one packet, AVERROR_EOF behind the last, another AVERROR on failure or when the source is gone;
        /// whatever it is, read() gives it in its turn.
        int step();

    private:
        friend class SourceInput;
        explicit ReadAhead(std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}
        std::shared_ptr<Impl> impl_;
    };

    SourceInput();
    ~SourceInput();
    SourceInput(const SourceInput &) = delete;
    SourceInput &operator=(const SourceInput &) = delete;

    /// Of the HLS set that is read; the slowest variant is 0.
    struct Variants {
        int count = 0;  ///< 0: no HLS source
        int start = 0;
        int current = 0;
        uint32_t changes = 0;       ///< grows when the streams are those of another variant from the last packet on
        uint32_t soundChanges = 0;  ///< the same, where the sound needs another decoder
    };

    /// On failure failure() says which kind: 501 or 502 of the events.
    MediaError open(const std::string &url, const InputOptions &options);
    Failure failure() const;
    /// Ends what is under way and refuses what comes later.
    void interrupt();
    ReadAhead readAhead() const { return ReadAhead(impl_); }
    /// What is read and sought from now on is for this number: a call that has taken 200 ms ends with AVERROR_EXIT when
    /// `newest` holds another one. A seek goes on from there. Null: for whatever comes; else it outlives that.
    void serve(const std::atomic<uint32_t> *newest, uint32_t number);
    /// Another flag in place of the options' `cancel`, for a new owner.
    void watch(const std::atomic<bool> *cancel);
    /// The same for where requests go, from the next read on; `url` is what was opened.
    void takeRoute(const std::string &url, const std::shared_ptr<HostRoute> &route);

    /// The chosen streams; null where there is none. Attached pictures do not count as video.
    const AVStream *video() const;
    const AVStream *audio() const;
    /// The container's length, else the longest stream's, else 0.
    int64_t durationUs() const;
    /// The container as FFmpeg found it, null while nothing is open.
    const AVFormatContext *container() const;
    bool seekable() const;
    /// No end is known and more is to come.
    bool live() const;

    /// 0 and a packet of one of the chosen streams, AVERROR_EOF behind the last, another AVERROR on failure.
    /// `packet` must be blank; the caller owns what it gets.
    int read(AVPacket *packet, Stream &stream);
    /// Goes to the key frame at or before the position; the next read() is there. Behind a failure the place to read
    /// from is not known; another seek may mend it.
    MediaError seek(int64_t positionUs);
    /// The end of the medium proves that all of it has come: it is local, has said its size, or is a play list. Behind
    /// a body of unknown size only the length that was promised tells an end from a break.
    bool endIsProof() const;
    /// From now on the variant of an HLS set follows the measured speed, at borders of segments.
    void adapt();
    Variants variants() const;
    /// Bytes read from the medium so far; from the network if network() is true.
    int64_t bytesRead() const;
    bool network() const;

private:
    std::shared_ptr<Impl> impl_;
};

}  // namespace oriplayer
