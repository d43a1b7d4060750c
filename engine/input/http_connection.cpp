#include "input/http_connection.h"

extern "C" {
#include <libavutil/dict.h>
}

namespace oriplayer {

namespace {

bool hasUser(const std::string &url) {
    const std::size_t begin = url.find("//");
    const std::size_t end = begin == std::string::npos ? begin : url.find_first_of("/?#", begin + 2);
    const std::size_t at = url.find('@');
    return begin != std::string::npos && at < end;
}

}  // namespace

int HttpPatience::ask(void *self) {
    const auto *patience = static_cast<const HttpPatience *>(self);
    const bool late = std::chrono::steady_clock::now() >= patience->deadline_;
    return late || patience->hasNews() || patience->callerGivesUp() ? 1 : 0;
}

std::unique_ptr<HttpConnection> HttpConnection::open(const std::string &url, int64_t offset,
                                                     const AVDictionary *options, HttpPatience &patience, int &result) {
    AVDictionary *own = nullptr;
    av_dict_copy(&own, options, 0);
    // FFmpeg takes a demand for the password for the answer to a request that does not begin at the first byte. So the
    // first request asks for the whole; the second, of the same connection, knows what to answer.
    const bool second = offset > 0 && hasUser(url);
    av_dict_set(&own, "offset", nullptr, 0);
    if (offset > 0 && !second) av_dict_set_int(&own, "offset", offset, 0);
    const AVIOInterruptCB interrupt = patience.callback();
    AVIOContext *io = nullptr;
    result = avio_open2(&io, url.c_str(), AVIO_FLAG_READ, &interrupt, &own);
    av_dict_free(&own);
    if (result < 0) return nullptr;
    std::unique_ptr<HttpConnection> connection(new HttpConnection(io));
    const int64_t place = second ? avio_seek(io, offset, SEEK_SET) : 0;
    if (place >= 0) return connection;
    result = static_cast<int>(place);
    return nullptr;
}

int HttpConnection::read(uint8_t *buffer, int size) {
    const int result = avio_read_partial(io_.get(), buffer, size);
    if (result == 0) return AVERROR_EOF;
    if (result == AVERROR_EXIT) {
        io_->error = 0;
        io_->eof_reached = 0;
    }
    return result;
}

}  // namespace oriplayer
