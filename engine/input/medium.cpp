#include "input/medium.h"

#include <strings.h>

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/mem.h>
}

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "input/variant_set.h"

namespace oriplayer {

namespace {

constexpr char kNetworkProtocols[] = "http,https,tls,tcp,httpproxy,crypto,data";
constexpr char kLocalProtocols[] = "file,http,https,tls,tcp,httpproxy,crypto,data";

// A list of a day in segments of a second is half as long.
constexpr std::size_t kMostListBytes = 16u << 20;

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

void setDefault(AVDictionary **options, const char *key, const std::string &value) {
    if (!value.empty()) av_dict_set(options, key, value.c_str(), AV_DICT_DONT_OVERWRITE);
}

/// FFmpeg takes an empty block of headers for one without its last line's end, and says so.
void setHeaders(AVDictionary **options, const std::string &block) {
    av_dict_set(options, "headers", block.empty() ? nullptr : block.c_str(), 0);
}

}  // namespace

bool isHttp(const std::string &url) {
    return beginsWith(url, "http://", 7) || beginsWith(url, "https://", 8);
}

int Medium::attach(AVFormatContext &container, const std::string &url, const InputOptions &options) {
    options_ = options;
    interrupt_ = container.interrupt_callback;
    const bool file = beginsWith(url, "file:", 5);
    const bool pipe = beginsWith(url, "pipe:", 5);
    network_ = !file && url.find("://") != std::string::npos;
    host_ = hostOf(url);
    // Other schemes (rtmp, udp, concat) know best themselves what they build on.
    if (isHttp(url) || file || pipe) protocols_ = file || pipe ? kLocalProtocols : kNetworkProtocols;
    if (!protocols_.empty()) container.protocol_whitelist = av_strdup(protocols_.c_str());
    defaultOpen_ = container.io_open;
    defaultClose_ = container.io_close2;
    container.opaque = this;
    container.io_open = &Medium::open;
    container.io_close2 = &Medium::close;
    if (pipe) {
        int result = 0;
        pipe_ = PipeStream::open(url.substr(5), interrupt_, result);
        if (pipe_) container.pb = pipe_->io();
        return result;
    }
    if (!isHttp(url)) return 0;
    if (options.route) options.route->setUrl(url);
    return openHttp(&container.pb, url.c_str(), nullptr);
}

void Medium::detach() {
    pipe_.reset();
    files_.clear();
    unlocked_.clear();
    streams_.clear();
    settled_ = false;
    broken_ = missing_ = 0;
    if (options_.route) options_.route->setUrl({});
}

void Medium::takeRoute(const std::string &url, const std::shared_ptr<HostRoute> &route) {
    options_.route = route;
    for (const auto &[io, stream] : streams_) stream->takeRoute(route);
    if (route && isHttp(url)) route->setUrl(url);
}

std::string Medium::headersFor(const std::string &host) const {
    std::string block;
    for (const auto &[name, value] : options_.headers) {
        // Meant for the source's own host, not for those that it refers to or that stand in for it.
        constexpr const char *kOwn[] = {"Host", "Authorization", "Cookie", "Proxy-Authorization"};
        const auto own = [header = name.c_str()](const char *each) { return strcasecmp(header, each) == 0; };
        if (host != host_ && std::any_of(std::begin(kOwn), std::end(kOwn), own)) continue;
        block += oneLine(name) + ": " + oneLine(value) + "\r\n";
    }
    return block;
}

void Medium::addRequestOptions(AVDictionary **options) const {
    setDefault(options, "user_agent", oneLine(options_.userAgent));
    // Without a file GnuTLS trusts the system's authorities.
    setDefault(options, "ca_file", options_.caFile);
    av_dict_set(options, "tls_verify", "1", 0);
}

int Medium::open(AVFormatContext *container, AVIOContext **io, const char *url, int flags, AVDictionary **options) {
    auto *self = static_cast<Medium *>(container->opaque);
    if (self->failure() < 0) return self->failure();
    if (isHttp(url)) return self->openHttp(io, url, options ? *options : nullptr);
    AVDictionary *own = nullptr;
    AVDictionary **all = options ? options : &own;
    const bool encrypted = beginsWith(url, "crypto+", 7) || beginsWith(url, "crypto:", 7);
    if (encrypted && isHttp(url + 7)) return self->openLocked(io, url + 7, options ? *options : nullptr);
    if (encrypted) {
        self->addRequestOptions(all);
        setHeaders(all, self->headersFor(hostOf(url)));
    }
    const int result = self->defaultOpen_(container, io, url, flags, all);
    av_dict_free(&own);
    if (result >= 0 && *io) self->files_.insert(*io);
    return result;
}

int Medium::openHttp(AVIOContext **io, const char *url, const AVDictionary *given) {
    AVDictionary *all = nullptr;
    AVDictionary *other = nullptr;
    av_dict_copy(&all, given, 0);
    addRequestOptions(&all);
    if (!protocols_.empty()) av_dict_set(&all, "protocol_whitelist", protocols_.c_str(), 0);
    av_dict_copy(&other, all, 0);
    av_dict_set(&other, "cookies", nullptr, 0);
    // FFmpeg would pass the cookies of the list's host to every other.
    if (hostOf(url) != host_) av_dict_set(&all, "cookies", nullptr, 0);
    setHeaders(&all, headersFor(hostOf(url)));
    setHeaders(&other, headersFor({}));
    constexpr int kTries = 3;
    int result = 0;
    auto stream = HttpStream::open({url, all, other, interrupt_, options_.route, options_.timeoutMs,
                                    settled_ ? kTries : 1, options_.variants ? &options_.variants->speed() : nullptr},
                                   result);
    av_dict_free(&all);
    av_dict_free(&other);
    if (stream && options_.variants) present(*stream, url, given);
    if (!stream) {
        // A missing piece of a list is the demuxer's to go over; a server that is gone is not.
        const bool gone = settled_ && HttpStream::mayPass(result) && result != AVERROR_EXIT;
        if (gone) broken_ = result;
        missing_ = settled_ ? result : 0;
        return result;
    }
    missing_ = 0;
    *io = stream->io();
    streams_[*io] = std::move(stream);
    return 0;
}

/// A play list passes through the set of variants, all else is a segment of one.
void Medium::present(HttpStream &stream, const char *url, const AVDictionary *given) {
    std::array<unsigned char, 7> head{};
    const int count = avio_read(stream.io(), head.data(), static_cast<int>(head.size()));
    const auto *text = reinterpret_cast<const char *>(head.data());
    if (count > 0 && isHlsList({text, static_cast<std::size_t>(count)})) {
        auto rest = stream.restOfBody(kMostListBytes);
        if (rest) {
            std::string list(text, static_cast<std::size_t>(count));
            return stream.show(options_.variants->present(url, std::move(list.append(*rest))));
        }
    }
    avio_seek(stream.io(), 0, SEEK_SET);
    const AVDictionaryEntry *offset = av_dict_get(given, "offset", nullptr, 0);
    options_.variants->opened(url, offset ? std::strtoll(offset->value, nullptr, 10) : 0);
}

int Medium::openLocked(AVIOContext **io, const char *url, AVDictionary *given) {
    AVIOContext *body = nullptr;
    const int result = openHttp(&body, url, given);
    if (result < 0) return result;
    const AVDictionaryEntry *key = av_dict_get(given, "key", nullptr, 0);
    const AVDictionaryEntry *vector = av_dict_get(given, "iv", nullptr, 0);
    auto unlocked = UnlockedBody::over(body, key ? key->value : "", vector ? vector->value : "");
    if (!unlocked) {
        streams_.erase(body);
        return AVERROR(EINVAL);
    }
    *io = unlocked->io();
    unlocked_[*io] = std::move(unlocked);
    return 0;
}

int Medium::close(AVFormatContext *container, AVIOContext *io) {
    auto *self = static_cast<Medium *>(container->opaque);
    if (!io) return 0;
    if (const auto locked = self->unlocked_.find(io); locked != self->unlocked_.end()) {
        io = locked->second->body();
        self->unlocked_.erase(locked);
    }
    const auto stream = self->streams_.find(io);
    if (stream == self->streams_.end()) {
        if (self->files_.erase(io) > 0) self->closedBytes_ += io->bytes_read;
        return self->defaultClose_(container, io);
    }
    self->closedBytes_ += stream->second->bytes();
    if (stream->second->showsText()) self->closedListBytes_ += stream->second->bytes();
    if (self->settled_ && self->broken_ == 0) self->broken_ = stream->second->failure();
    self->streams_.erase(stream);
    return 0;
}

void Medium::mend() {
    broken_ = missing_ = 0;
    for (const auto &[io, stream] : streams_) stream->mend();
}

int Medium::failure() const {
    if (!settled_ || broken_ < 0) return broken_;
    for (const auto &[io, stream] : streams_) {
        if (stream->failure() < 0) return stream->failure();
    }
    return 0;
}

int64_t Medium::bytesRead() const {
    int64_t bytes = closedBytes_ + (pipe_ ? pipe_->bytes() : 0);
    for (const AVIOContext *io : files_) bytes += io->bytes_read;
    for (const auto &[io, stream] : streams_) bytes += stream->bytes();
    return bytes;
}

int64_t Medium::mediaBytes() const {
    int64_t bytes = bytesRead() - closedListBytes_;
    for (const auto &[io, stream] : streams_) bytes -= stream->showsText() ? stream->bytes() : 0;
    return bytes;
}

}  // namespace oriplayer
