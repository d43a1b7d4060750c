#include "input/http_connection.h"

extern "C" {
#include <libavutil/dict.h>
}

namespace oriplayer {

int HttpPatience::ask(void *self) {
    const auto *patience = static_cast<const HttpPatience *>(self);
    const bool late = std::chrono::steady_clock::now() >= patience->deadline_;
    return late || patience->hasNews() || patience->callerGivesUp() ? 1 : 0;
}

std::unique_ptr<HttpConnection> HttpConnection::open(const std::string &url, int64_t offset,
                                                     const AVDictionary *options, HttpPatience &patience, int &result) {
    AVDictionary *own = nullptr;
    av_dict_copy(&own, options, 0);
    if (offset > 0) av_dict_set_int(&own, "offset", offset, 0);
    const AVIOInterruptCB interrupt = patience.callback();
    AVIOContext *io = nullptr;
    result = avio_open2(&io, url.c_str(), AVIO_FLAG_READ, &interrupt, &own);
    av_dict_free(&own);
    return result < 0 ? nullptr : std::unique_ptr<HttpConnection>(new HttpConnection(io));
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
