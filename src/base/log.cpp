#include "base/log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace vexo {
namespace {

void DropLine(const char *, const char *, ...) {}

std::atomic<int> sLogLevel{LOG_ERROR};
std::atomic<LogFunction> sLogCallback{&DropLine};

}  // namespace

int GetLogLevel() {
    return sLogLevel.load(std::memory_order_relaxed);
}

void SetLogLevel(int level) {
    sLogLevel.store(level, std::memory_order_relaxed);
}

LogFunction GetLogCallback() {
    return sLogCallback.load(std::memory_order_acquire);
}

void SetLogCallback(LogFunction function) {
    sLogCallback.store(function, std::memory_order_release);
}

void PrintLog(const char *function, int line, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    flockfile(stdout);  // one line stays one line when several threads print
    std::fprintf(stdout, " [%s:%d] ", function, line);
    std::vfprintf(stdout, format, arguments);
    std::fputc('\n', stdout);
    funlockfile(stdout);
    va_end(arguments);
}

}  // namespace vexo
