#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "ffmpeg.h"
#include "input/host_route.h"
#include "input/http_connection.h"
#include "input/line_speed.h"

namespace oriplayer {

/// One HTTP body as a demuxer reads it, independent of the connections that transfer it. A connection that breaks, that
/// is silent for half of the time-out, or that ends before the announced length is replaced by one that begins at the
/// byte it had reached; after three tries without progress the stream fails. When the player changes to other hosts,
/// the body continues from the first of them that has it.
///
/// Threads: one at a time.
class HttpStream {
public:
    struct Setup {
        std::string url;
        const AVDictionary *options = nullptr;       ///< of every request; copied
        const AVDictionary *otherOptions = nullptr;  ///< of requests to other hosts; copied
        AVIOInterruptCB interrupt{};                 ///< the caller's; outlives the stream
        std::shared_ptr<HostRoute> route;            ///< may be null
        int timeoutMs = 8000;
        int tries = 1;               ///< for the first connection
        LineSpeed *speed = nullptr;  ///< measures the bytes and the time spent waiting; outlives the stream
    };
    /// Opens the first connection. On failure returns null and writes an AVERROR to `result`.
    static std::unique_ptr<HttpStream> open(const Setup &setup, int &result);
    ~HttpStream();
    HttpStream(const HttpStream &) = delete;
    HttpStream &operator=(const HttpStream &) = delete;

    /// Sets the route of a new owner. Nobody may read at the same time.
    void takeRoute(std::shared_ptr<HostRoute> route) {
        patience_.heed(route.get());
        route_ = std::move(route);
    }
    /// The input for a demuxer; valid as long as the stream.
    AVIOContext *io() const { return io_; }
    /// The part of the body that has not been read yet. Empty if that is more than `most` bytes or cannot be read.
    std::optional<std::string> restOfBody(std::size_t most);
    /// From now on demuxers read this text, from its beginning, in place of the body.
    void show(std::string text);
    bool showsText() const { return shown_.has_value(); }
    /// The number of bytes received.
    int64_t bytes() const { return bytes_; }
    /// The AVERROR for which the body cannot be read any further, or 0. A seek tries again, but after a time-out only
    /// if mend() was called before.
    int failure() const { return failure_; }
    void mend();

    /// False if another try is useless, because the server has rejected the request or must not be contacted.
    static bool mayPass(int result);

private:
    explicit HttpStream(const Setup &setup);
    int begin(int tries);
    bool makeIo();
    static void *connectionOf(void *io, void *previous);
    static int read(void *self, uint8_t *buffer, int size);
    static int64_t seek(void *self, int64_t offset, int whence);
    int read(uint8_t *buffer, int size);
    int readShown(uint8_t *buffer, int size);
    int download(uint8_t *buffer, int size);
    int64_t seek(int64_t offset, int whence);
    int64_t seekShown(int64_t offset, int whence);
    int receive(uint8_t *buffer, int size);
    void follow();
    bool replace(int why);
    bool rest(std::chrono::milliseconds time);
    int connect();
    bool connectTo(const std::string &url, const AVDictionary *options, int &result);
    int64_t sizeOf(const HttpConnection &connection) const;
    bool complete() const { return size_ >= 0 && position_ >= size_; }
    bool cannotResume() const { return !seekable_ && position_ > 0; }

    const std::string url_;
    AVDictionary *options_ = nullptr;
    AVDictionary *otherOptions_ = nullptr;
    std::shared_ptr<HostRoute> route_;
    const int timeoutMs_;
    LineSpeed *const speed_;
    int64_t beginsAt_ = 0;  ///< byte of the server's file at which the body begins
    int64_t endsAt_ = 0;    ///< and before which it ends; 0: at the end of the file
    HttpPatience patience_;
    std::unique_ptr<HttpConnection> connection_;  ///< null after a seek, until the next read
    AVIOContext *io_ = nullptr;
    int64_t bytes_ = 0;
    int64_t position_ = 0;
    int64_t size_ = -1;
    bool seekable_ = false;
    std::chrono::steady_clock::time_point silentFrom_;
    int tries_ = 0;           ///< since the last progress
    int64_t progressAt_ = 0;  ///< the position that counts as progress and resets tries_
    int failure_ = 0;
    std::optional<std::string> shown_;  ///< read instead of the body
};

}  // namespace oriplayer
