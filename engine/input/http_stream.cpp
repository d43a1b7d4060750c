#include "input/http_stream.h"

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <utility>

namespace oriplayer {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr int kBufferBytes = 32 * 1024;  // as FFmpeg's own connections have
constexpr int kTries = 3;
// Pauses before the first, second and third try. A server that restarts is back within a second or two.
constexpr milliseconds kRests[kTries] = {milliseconds(0), milliseconds(300), milliseconds(1000)};
constexpr milliseconds kRestStep{20};
// A connection that delivers fewer bytes than this before it breaks is not progress.
constexpr int64_t kProgressBytes = 16 * 1024;
constexpr int kMostConnectMs = 3000;

int64_t numberIn(const AVDictionary *options, const char *key) {
    const AVDictionaryEntry *entry = av_dict_get(options, key, nullptr, 0);
    return entry ? std::strtoll(entry->value, nullptr, 10) : 0;
}

}  // namespace

bool HttpStream::mayPass(int result) {
    switch (result) {
        case AVERROR_HTTP_BAD_REQUEST:
        case AVERROR_HTTP_UNAUTHORIZED:
        case AVERROR_HTTP_FORBIDDEN:
        case AVERROR_HTTP_NOT_FOUND:
        case AVERROR_HTTP_OTHER_4XX:
        case AVERROR(EINVAL):
        case AVERROR(ESTALE):
        case AVERROR_PROTOCOL_NOT_FOUND:
            return false;
        default:
            return result < 0;
    }
}

/// Options that FFmpeg reads from the stream (URL after redirections, content type, cookies) come from its connection.
void *HttpStream::connectionOf(void *io, void *previous) {
    const auto *stream = static_cast<const HttpStream *>(static_cast<const AVIOContext *>(io)->opaque);
    return previous || !stream->connection_ ? nullptr : stream->connection_->io();
}

HttpStream::HttpStream(const Setup &setup)
    : url_(setup.url),
      route_(setup.route),
      timeoutMs_(setup.timeoutMs),
      speed_(setup.speed),
      patience_(setup.interrupt, setup.route.get()) {
    av_dict_copy(&options_, setup.options, 0);
    av_dict_copy(&otherOptions_, setup.otherOptions, 0);
    beginsAt_ = numberIn(setup.options, "offset");
    endsAt_ = numberIn(setup.options, "end_offset");
}

HttpStream::~HttpStream() {
    if (io_) av_freep(&io_->buffer);
    avio_context_free(&io_);
    av_dict_free(&options_);
    av_dict_free(&otherOptions_);
}

std::unique_ptr<HttpStream> HttpStream::open(const Setup &setup, int &result) {
    std::unique_ptr<HttpStream> stream(new HttpStream(setup));
    result = stream->begin(setup.tries);
    if (result < 0) return nullptr;
    if (stream->makeIo()) return stream;
    result = AVERROR(ENOMEM);
    return nullptr;
}

int HttpStream::begin(int tries) {
    int result = connect();
    for (int i = 1; i < tries && mayPass(result); ++i) {
        if (!rest(kRests[std::min(i, kTries - 1)]) && !patience_.hasNews()) return AVERROR_EXIT;
        result = connect();
    }
    return result;
}

bool HttpStream::makeIo() {
    static const AVClass ioClass = [] {
        AVClass own{};
        own.class_name = "HttpStream";
        own.item_name = av_default_item_name;
        own.version = LIBAVUTIL_VERSION_INT;
        own.child_next = &HttpStream::connectionOf;
        return own;
    }();
    auto *buffer = static_cast<unsigned char *>(av_malloc(kBufferBytes));
    if (!buffer) return false;
    io_ = avio_alloc_context(buffer, kBufferBytes, 0, this, &HttpStream::read, nullptr, &HttpStream::seek);
    if (!io_) {
        av_free(buffer);
        return false;
    }
    io_->av_class = &ioClass;
    io_->seekable = seekable_ ? AVIO_SEEKABLE_NORMAL : 0;
    return true;
}

int HttpStream::read(void *self, uint8_t *buffer, int size) {
    return static_cast<HttpStream *>(self)->read(buffer, size);
}

int64_t HttpStream::seek(void *self, int64_t offset, int whence) {
    return static_cast<HttpStream *>(self)->seek(offset, whence);
}

int HttpStream::read(uint8_t *buffer, int size) {
    if (shown_) return readShown(buffer, size);
    if (!speed_) return download(buffer, size);
    const auto begin = steady_clock::now();
    const int result = download(buffer, size);
    speed_->addRead(begin, steady_clock::now(), std::max(result, 0));
    return result;
}

int HttpStream::readShown(uint8_t *buffer, int size) {
    const auto place = static_cast<std::size_t>(position_);
    const std::size_t count = std::min(shown_->size() - place, static_cast<std::size_t>(size));
    if (count == 0) return AVERROR_EOF;
    std::memcpy(buffer, shown_->data() + place, count);
    position_ += static_cast<int64_t>(count);
    return static_cast<int>(count);
}

std::optional<std::string> HttpStream::restOfBody(std::size_t most) {
    std::string body;
    char piece[8192];
    while (body.size() <= most) {
        const int count = avio_read_partial(io_, reinterpret_cast<unsigned char *>(piece), sizeof piece);
        if (count == 0 || count == AVERROR_EOF) return body;
        if (count < 0) return std::nullopt;
        body.append(piece, static_cast<std::size_t>(count));
    }
    return std::nullopt;
}

void HttpStream::show(std::string text) {
    shown_ = std::move(text);
    position_ = 0;
    io_->buf_ptr = io_->buf_end = io_->buffer;
    io_->pos = 0;
    io_->eof_reached = 0;
    io_->error = 0;
}

int HttpStream::download(uint8_t *buffer, int size) {
    silentFrom_ = steady_clock::now();
    while (failure_ == 0) {
        if (!connection_ && complete()) return AVERROR_EOF;
        if (patience_.hasNews()) follow();
        const int result = connection_ ? receive(buffer, size) : connect();
        if (result > 0) return result;
        if (result == 0) continue;  // connected
        if (patience_.callerGivesUp()) return AVERROR(ETIMEDOUT);
        // FFmpeg reports an orderly close of a body without a length as EIO. Whether something is missing, the declared
        // duration shows.
        const bool closed = result == AVERROR_EOF || (result == AVERROR(EIO) && size_ < 0);
        const bool theEnd = closed && (size_ < 0 || complete());
        if (theEnd) return AVERROR_EOF;
        if (!patience_.hasNews() && !replace(result)) return failure_ < 0 ? failure_ : AVERROR(ETIMEDOUT);
    }
    return failure_;
}

int HttpStream::receive(uint8_t *buffer, int size) {
    // If no other connection can be tried, it waits for the whole time-out.
    const bool hopeful = tries_ < kTries && !cannotResume();
    const auto last = silentFrom_ + milliseconds(timeoutMs_);
    patience_.waitUntil(hopeful ? std::min(last, steady_clock::now() + milliseconds(timeoutMs_ / 2)) : last);
    const int result = connection_->read(buffer, size);
    if (result <= 0) return result == 0 ? AVERROR_EOF : result;
    position_ += result;
    bytes_ += result;
    if (position_ >= progressAt_) tries_ = 0;
    return result;
}

/// Changes to the first of the new hosts that has the same body. If none has it, nothing changes.
void HttpStream::follow() {
    patience_.know(route_->version());
    const auto until = steady_clock::now() + milliseconds(timeoutMs_ / 2);
    for (const std::string &url : route_->alternatives(url_)) {
        if (patience_.hasNews() || patience_.callerGivesUp() || steady_clock::now() >= until) return;
        int result = 0;
        patience_.waitUntil(std::min(until, steady_clock::now() + milliseconds(kMostConnectMs)));
        if (connectTo(url, otherOptions_, result)) return route_->prefer(url);
    }
}

/// Opens a new connection after `why`, an AVERROR. A connection that is only silent is kept until a new one is open.
/// False if the caller gives up or no try is left; in the latter case failure_ is the reason.
bool HttpStream::replace(int why) {
    const bool silent = why == AVERROR_EXIT;
    if (silent && steady_clock::now() >= silentFrom_ + milliseconds(timeoutMs_)) {
        failure_ = AVERROR(ETIMEDOUT);
        return false;
    }
    while (tries_ < kTries && !cannotResume()) {
        progressAt_ = position_ + kProgressBytes;
        if (!rest(silent ? milliseconds(0) : kRests[tries_++])) return patience_.hasNews();
        if (silent) ++tries_;
        const int result = connect();
        if (result >= 0 || (silent && connection_) || patience_.hasNews()) return true;
        if (patience_.callerGivesUp()) return false;
        if (!mayPass(result)) break;
    }
    if (silent && connection_) return true;
    failure_ = why == AVERROR_EOF ? AVERROR(EIO) : why;
    return false;
}

/// False if the caller gives up or the hosts change before the time is over.
bool HttpStream::rest(std::chrono::milliseconds time) {
    const auto until = steady_clock::now() + time;
    while (steady_clock::now() < until) {
        if (patience_.callerGivesUp() || patience_.hasNews()) return false;
        std::this_thread::sleep_for(kRestStep);
    }
    return true;
}

/// Opens a connection that begins at position_; hosts of a network change are tried first. Returns 0, or an AVERROR and
/// keeps the former connection. If the hosts change while a request waits for its answer, the new hosts are tried next.
int HttpStream::connect() {
    int result = 0;
    do {
        if (route_) {
            const auto former = connection_.get();
            follow();
            if (connection_.get() != former) return 0;
        }
        if (position_ == 0) {
            patience_.waitForAsLongAsTheCaller();
        } else {
            patience_.waitUntil(steady_clock::now() + milliseconds(std::min(kMostConnectMs, timeoutMs_ / 2)));
        }
        connectTo(url_, options_, result);
    } while (result < 0 && patience_.hasNews() && !patience_.callerGivesUp());
    return result;
}

bool HttpStream::connectTo(const std::string &url, const AVDictionary *options, int &result) {
    // A body that cannot be resumed and has no length is a live stream. It is joined at its present end.
    const bool join = size_ < 0 && !seekable_;
    auto next = HttpConnection::open(url, beginsAt_ + (join ? 0 : position_), options, patience_, result);
    if (!next) return false;
    const int64_t size = sizeOf(*next);
    const bool other = size_ >= 0 && size >= 0 && size != size_;
    if (other) {
        result = AVERROR(ESTALE);
        return false;
    }
    if (position_ == 0) seekable_ = next->seekable();
    if (size_ < 0) size_ = size;
    connection_ = std::move(next);
    result = 0;
    return true;
}

int64_t HttpStream::sizeOf(const HttpConnection &connection) const {
    const int64_t end =
        connection.size() >= 0 && endsAt_ > 0 ? std::min(endsAt_, connection.size()) : connection.size();
    return end >= 0 ? std::max<int64_t>(0, end - beginsAt_) : -1;
}

int64_t HttpStream::seekShown(int64_t offset, int whence) {
    const auto size = static_cast<int64_t>(shown_->size());
    if (whence == AVSEEK_SIZE) return size;
    if (whence != SEEK_SET || offset < 0 || offset > size) return AVERROR(EINVAL);
    return position_ = offset;
}

void HttpStream::mend() {
    if (std::exchange(failure_, 0) == 0 || !seekable_) return;
    connection_.reset();
    progressAt_ = position_;
    tries_ = 0;
}

int64_t HttpStream::seek(int64_t offset, int whence) {
    if (shown_) return seekShown(offset, whence);
    if (whence == AVSEEK_SIZE) return size_ >= 0 ? size_ : AVERROR(ENOSYS);
    if (whence != SEEK_SET || offset < 0) return AVERROR(EINVAL);
    // A demuxer that looks for its place behind a time-out would begin another one.
    if (failure_ == AVERROR(ETIMEDOUT)) return failure_;
    if (offset == position_ && failure_ == 0) return offset;
    if (!seekable_) return AVERROR(ESPIPE);
    connection_.reset();
    position_ = offset;
    progressAt_ = offset;
    tries_ = 0;
    failure_ = 0;
    return offset;
}

}  // namespace oriplayer
