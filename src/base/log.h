#pragma once

namespace vexo {

/// Severities of VEXO_PRINT: a lower number is chattier.
enum LogSeverity {
    LOG_VERBOSE = 2,  ///< traces of single events
    LOG_DEBUG = 3,    ///< states and values
    LOG_INFO = 4,     ///< entries of public operations, results of queries
    LOG_ERROR = 6,    ///< what aborts an operation
};

/// Where VEXO_SINK statements go. `tag` may be null. Called on the logging thread, which may hold a timeline's mutex:
/// it returns soon and calls no player.
using LogFunction = void (*)(const char *tag, const char *format, ...);

/// A VEXO_PRINT statement prints if the level is at most its severity; 6 at the start. Threads: any.
int GetLogLevel();
void SetLogLevel(int level);

/// At the start a function that does nothing; null is allowed and silences as well. Threads: any.
LogFunction GetLogCallback();
void SetLogCallback(LogFunction function);

/// Writes one framed line to standard output; the statement below is its only caller.
[[gnu::format(printf, 3, 4)]] void PrintLog(const char *function, int line, const char *format, ...);

}  // namespace vexo

/// Prints " [signature:line] message\n" to standard output if the level allows; the arguments are not evaluated else.
#define VEXO_PRINT(severity, ...)                                                                              \
    do {                                                                                                       \
        if (::vexo::GetLogLevel() <= (severity)) ::vexo::PrintLog(__PRETTY_FUNCTION__, __LINE__, __VA_ARGS__); \
    } while (false)

/// Sends a line, as it stands, to the log function under the tag "VEXO_LOG". Not for what happens per picture.
#define VEXO_SINK(...)                                                                                 \
    do {                                                                                               \
        if (auto vexoLogFunction = ::vexo::GetLogCallback()) vexoLogFunction("VEXO_LOG", __VA_ARGS__); \
    } while (false)
