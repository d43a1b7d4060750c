#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "interruption.h"
#include "subtitle_choice.h"

namespace vexoplay {

/// What the process answers with.
enum class ExitCode : int {
    kPlayed = 0,
    kUsage = 1,
    kNothingPlayable = 2,
    kSomeFailed = 3,
    kSignal = 4,
    kInternal = 5,
};

/// The command line, read and checked.
struct Options {
    std::vector<std::string> inputs;
    std::string playList;
    bool mixed = false;
    bool loop = false;
    std::vector<InterruptionPoint> interruptions;
    std::vector<std::string> interruptWith;
    std::string alternative;
    std::optional<int64_t> startMs;
    std::optional<int64_t> endMs;

    double speed = 1.0;            ///< 0.5 to 4.0
    std::optional<double> volume;  ///< 0.0 to 1.0; the engine's own if absent
    bool mute = false;
    bool noAudio = false;
    bool noVideo = false;
    std::string audioTrack;
    std::string audioDevice;

    SubtitleChoice subtitles;

    std::string caFile;
    std::string userAgent;
    std::vector<std::pair<std::string, std::string>> headers;

    std::string wifiDomains;
    std::string mobileDomains;

    std::optional<int> prefetch;        ///< items kept ready after the one that plays; absent: the engine's number
    std::optional<int> decoderThreads;  ///< absent: the engine's choice
    bool probe = false;
    bool json = false;
    bool untimed = false;
    bool hash = false;
    bool noWindow = false;
    std::string raw;
    std::vector<int> infoKeys;
    std::string reports;  ///< files to write
    std::string report;
    std::string plot;
};

/// Either options, or a text to print and the code to leave with.
struct ParsedOptions {
    std::optional<Options> options;
    std::string text;
    ExitCode code = ExitCode::kPlayed;
};
ParsedOptions parseOptions(int argc, const char *const *argv);

/// "90", "90.5", "1:30", "1:02:03.25" as milliseconds; empty for anything else.
std::optional<int64_t> parseTime(const std::string &text);

/// "POS=FILE[,FILE...]"; empty without a place or a file.
std::optional<InterruptionPoint> parseInterruption(const std::string &text);

/// "Name: value" in its two halves, blanks round the value cut; empty without a name or with a line break.
std::optional<std::pair<std::string, std::string>> parseHeader(const std::string &text);

}  // namespace vexoplay
