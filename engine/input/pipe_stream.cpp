#include "input/pipe_stream.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

extern "C" {
#include <libavutil/mem.h>
}

#include <cerrno>
#include <charconv>

namespace oriplayer {

namespace {

constexpr int kBufferBytes = 32 * 1024;
constexpr int kAskMs = 20;  // whether to go on waiting

// A FIFO that nobody writes to yet is opened at once, and then waited for like any other.
int openPlace(const std::string &place) {
    int number = 0;
    const char *end = place.data() + place.size();
    const auto [used, error] = std::from_chars(place.data(), end, number);
    if (error == std::errc() && used == end) return fcntl(number, F_DUPFD_CLOEXEC, 0);
    return ::open(place.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

}  // namespace

PipeStream::PipeStream(int descriptor, AVIOInterruptCB interrupt) : descriptor_(descriptor), interrupt_(interrupt) {
    auto *buffer = static_cast<unsigned char *>(av_malloc(kBufferBytes));
    if (buffer) io_ = avio_alloc_context(buffer, kBufferBytes, 0, this, &PipeStream::read, nullptr, nullptr);
    if (!io_) av_free(buffer);
}

PipeStream::~PipeStream() {
    if (io_) av_freep(&io_->buffer);
    avio_context_free(&io_);
    close(descriptor_);
}

std::unique_ptr<PipeStream> PipeStream::open(const std::string &place, AVIOInterruptCB interrupt, int &result) {
    const int descriptor = openPlace(place);
    result = descriptor < 0 ? AVERROR(errno) : 0;
    if (descriptor < 0) return nullptr;
    std::unique_ptr<PipeStream> stream(new PipeStream(descriptor, interrupt));
    if (stream->io_) return stream;
    result = AVERROR(ENOMEM);
    return nullptr;
}

int PipeStream::read(void *self, uint8_t *buffer, int size) {
    auto *stream = static_cast<PipeStream *>(self);
    const AVIOInterruptCB &ask = stream->interrupt_;
    while (!ask.callback || !ask.callback(ask.opaque)) {
        pollfd state{stream->descriptor_, POLLIN, 0};
        if (poll(&state, 1, kAskMs) == 0) continue;
        const ssize_t count = ::read(stream->descriptor_, buffer, static_cast<std::size_t>(size));
        if (count == 0) return AVERROR_EOF;
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) continue;
        if (count < 0) return AVERROR(errno);
        stream->bytes_ += count;
        return static_cast<int>(count);
    }
    return AVERROR_EXIT;
}

}  // namespace oriplayer
