#include "ffmpeg_log.h"

#include <array>
#include <cstdarg>
#include <utility>

#include "ffmpeg.h"

namespace oriplayer {
namespace {

thread_local FfmpegLog *current = nullptr;

char markOfEngine = 0;

// FFmpeg's threads make copies of the context that they work for.
bool belongsToEngine(void *object) {
    if (!object || *static_cast<const AVClass **>(object) != avcodec_get_class()) return false;
    return static_cast<const AVCodecContext *>(object)->opaque == &markOfEngine;
}

std::string lineOf(void *object, int level, const char *format, va_list arguments) {
    std::array<char, 1024> text{};
    int prefix = 1;
    av_log_format_line2(object, level, format, arguments, text.data(), static_cast<int>(text.size()), &prefix);
    std::string line(text.data());
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    return line;
}

}  // namespace

struct FfmpegLogAccess {
    static void take(FfmpegLog &log, void *object, int level, const char *format, va_list arguments) {
        if (!log.taker_ || level > AV_LOG_WARNING || log.linesLeft_ == 0 || log.inside_) return;
        --log.linesLeft_;
        log.inside_ = true;
        log.taker_(lineOf(object, level, format, arguments));
        log.inside_ = false;
    }

    static void onLine(void *object, int level, const char *format, va_list arguments) {
        if (current) {
            take(*current, object, level, format, arguments);
        } else if (!belongsToEngine(object)) {
            av_log_default_callback(object, level, format, arguments);
        }
    }
};

namespace {

// When the library is loaded, since FFmpeg does not tell whose function is set: one that the application sets is set
// later, and stays.
[[maybe_unused]] const bool installed = [] {
    av_log_set_callback(&FfmpegLogAccess::onLine);
    return true;
}();

}  // namespace

FfmpegLog::FfmpegLog(Taker taker) : taker_(std::move(taker)), outer_(std::exchange(current, this)) {}

FfmpegLog::~FfmpegLog() {
    current = outer_;
}

void *FfmpegLog::mark() {
    return &markOfEngine;
}

}  // namespace oriplayer
