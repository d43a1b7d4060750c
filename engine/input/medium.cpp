#include "input/medium.h"

#include <strings.h>

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/mem.h>
}

namespace oriplayer {

namespace {

constexpr char kNetworkProtocols[] = "http,https,tls,tcp,httpproxy,crypto,data";
constexpr char kLocalProtocols[] = "file,http,https,tls,tcp,httpproxy,crypto,data";

bool beginsWith(const std::string &text, const char *head, std::size_t length) {
    return strncasecmp(text.c_str(), head, length) == 0;
}

/// A line end inside a name or a value would be a header of its own.
std::string oneLine(std::string text) {
    for (char &c : text) {
        if (c == '\r' || c == '\n') c = ' ';
    }
    return text;
}

std::string headerBlock(const InputOptions &options) {
    std::string block;
    for (const auto &[name, value] : options.headers) block += oneLine(name) + ": " + oneLine(value) + "\r\n";
    return block;
}

void setDefault(AVDictionary **options, const char *key, const std::string &value) {
    if (!value.empty()) av_dict_set(options, key, value.c_str(), AV_DICT_DONT_OVERWRITE);
}

}  // namespace

bool isHttp(const std::string &url) {
    return beginsWith(url, "http://", 7) || beginsWith(url, "https://", 8);
}

void Medium::attach(AVFormatContext &container, const std::string &url, const InputOptions &options) {
    options_ = options;
    const bool file = beginsWith(url, "file:", 5);
    network_ = !file && url.find("://") != std::string::npos;
    // Other schemes (rtmp, udp, concat) know best themselves what they build on.
    if (isHttp(url) || file) container.protocol_whitelist = av_strdup(file ? kLocalProtocols : kNetworkProtocols);
    defaultOpen_ = container.io_open;
    defaultClose_ = container.io_close2;
    container.opaque = this;
    container.io_open = &Medium::open;
    container.io_close2 = &Medium::close;
}

void Medium::addRequestOptions(AVDictionary **options) const {
    setDefault(options, "user_agent", oneLine(options_.userAgent));
    setDefault(options, "headers", headerBlock(options_));
    // Without a file GnuTLS trusts the system's authorities.
    setDefault(options, "ca_file", options_.caFile);
    av_dict_set(options, "tls_verify", "1", 0);
    // A connection that breaks is taken up again where it broke; the caller's deadline ends that as well.
    setDefault(options, "reconnect", "1");
    setDefault(options, "reconnect_delay_max", "4");
    setDefault(options, "rw_timeout", std::to_string(int64_t{1000} * options_.timeoutMs));
}

int Medium::open(AVFormatContext *container, AVIOContext **io, const char *url, int flags, AVDictionary **options) {
    auto *self = static_cast<Medium *>(container->opaque);
    AVDictionary *own = nullptr;
    AVDictionary **all = options ? options : &own;
    if (isHttp(url)) self->addRequestOptions(all);
    const int result = self->defaultOpen_(container, io, url, flags, all);
    av_dict_free(&own);
    if (result >= 0 && *io) self->open_.insert(*io);
    return result;
}

int Medium::close(AVFormatContext *container, AVIOContext *io) {
    auto *self = static_cast<Medium *>(container->opaque);
    if (io && self->open_.erase(io) > 0) self->closedBytes_ += io->bytes_read;
    return self->defaultClose_(container, io);
}

int64_t Medium::bytesRead() const {
    int64_t bytes = closedBytes_;
    for (const AVIOContext *io : open_) bytes += io->bytes_read;
    return bytes;
}

}  // namespace oriplayer
