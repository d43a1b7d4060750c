#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "ffmpeg.h"
#include "input/host_route.h"

namespace oriplayer {

/// What ends a blocking call on an HTTP connection: its caller's own reasons, a deadline of the call, or the news that
/// requests go to other hosts now.
/// Threads: one at a time; FFmpeg asks on the thread that it was called on. Outlives the connections that use it.
class HttpPatience {
public:
    HttpPatience(AVIOInterruptCB caller, const HostRoute *route) : caller_(caller), route_(route) {}

    void waitUntil(std::chrono::steady_clock::time_point deadline) { deadline_ = deadline; }
    void waitForAsLongAsTheCaller() { deadline_ = std::chrono::steady_clock::time_point::max(); }
    /// Another route, none of whose news are known yet.
    void heed(const HostRoute *route) { route_ = route, version_ = 0; }
    /// The news up to `version` are known.
    void know(uint32_t version) { version_ = version; }
    uint32_t known() const { return version_; }

    bool callerGivesUp() const { return caller_.callback && caller_.callback(caller_.opaque) != 0; }
    bool hasNews() const { return route_ && route_->version() != version_; }
    AVIOInterruptCB callback() { return {&HttpPatience::ask, this}; }

private:
    static int ask(void *self);

    const AVIOInterruptCB caller_;
    const HostRoute *route_;
    std::chrono::steady_clock::time_point deadline_ = std::chrono::steady_clock::time_point::max();
    uint32_t version_ = 0;
};

/// One request of a body from some byte on, and its answer.
/// Threads: one at a time.
class HttpConnection {
public:
    /// Null, and an AVERROR in `result`: also if the server does not begin at `offset`, a byte of its file.
    static std::unique_ptr<HttpConnection> open(const std::string &url, int64_t offset, const AVDictionary *options,
                                                HttpPatience &patience, int &result);

    /// Bytes, AVERROR_EOF, or another AVERROR; behind AVERROR_EXIT it can be read on.
    int read(uint8_t *buffer, int size);
    /// Of the server's whole file; -1 if the server did not say.
    int64_t size() const { return size_; }
    bool seekable() const { return (io_->seekable & AVIO_SEEKABLE_NORMAL) != 0; }
    AVIOContext *io() const { return io_.get(); }

private:
    struct Close {
        void operator()(AVIOContext *io) const { avio_close(io); }
    };
    explicit HttpConnection(AVIOContext *io) : io_(io), size_(avio_size(io)) {}

    std::unique_ptr<AVIOContext, Close> io_;
    int64_t size_;
};

}  // namespace oriplayer
