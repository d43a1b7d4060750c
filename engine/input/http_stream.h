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

/// One HTTP body as a demuxer reads it, on connections that come and go underneath. A connection that breaks, that says
/// nothing for half of the time-out, or that ends before the announced length is replaced by one that begins at the
/// byte where it stood; three tries without progress are the end, and that is an error. When the player's requests go
/// to other hosts, the body goes on from the first of them that has it.
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
        LineSpeed *speed = nullptr;  ///< is told what comes, and how long it is waited for; outlives the stream
    };
    /// Null, and an AVERROR in `result`.
    static std::unique_ptr<HttpStream> open(const Setup &setup, int &result);
    ~HttpStream();
    HttpStream(const HttpStream &) = delete;
    HttpStream &operator=(const HttpStream &) = delete;

    /// Another route, for a new owner; while nobody reads.
    void takeRoute(std::shared_ptr<HostRoute> route) {
        patience_.heed(route.get());
        route_ = std::move(route);
    }
    /// For demuxers; lives as long as the stream.
    AVIOContext *io() const { return io_; }
    /// What a demuxer has not read yet; nothing if that is more than `most` bytes or cannot be read.
    std::optional<std::string> restOfBody(std::size_t most);
    /// From now on demuxers read this text, from its beginning, in place of the body.
    void show(std::string text);
    bool showsText() const { return shown_.has_value(); }
    /// What has come of the body.
    int64_t bytes() const { return bytes_; }
    /// Why the body cannot be read on, an AVERROR; 0 while it can. A seek tries anew, behind a time-out only if it was
    /// mended before.
    int failure() const { return failure_; }
    void mend();

    /// False if another try is useless: the server has said what it thinks of the request, or is not to be asked.
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
    bool complete() const { return size_ >= 0 && position_ >= size_; }
    bool cannotResume() const { return !seekable_ && position_ > 0; }

    const std::string url_;
    AVDictionary *options_ = nullptr;
    AVDictionary *otherOptions_ = nullptr;
    std::shared_ptr<HostRoute> route_;
    const int timeoutMs_;
    LineSpeed *const speed_;
    HttpPatience patience_;
    std::unique_ptr<HttpConnection> connection_;  ///< null behind a seek, until there is something to read
    AVIOContext *io_ = nullptr;
    int64_t bytes_ = 0;
    int64_t position_ = 0;
    int64_t size_ = -1;
    bool seekable_ = false;
    std::chrono::steady_clock::time_point silentFrom_;
    int tries_ = 0;           ///< since there was progress
    int64_t progressAt_ = 0;  ///< position from which on the tries begin anew
    int failure_ = 0;
    std::optional<std::string> shown_;  ///< in place of the body
};

}  // namespace oriplayer
