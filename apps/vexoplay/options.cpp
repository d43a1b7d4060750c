#include "options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>

#include "play_list_file.h"

namespace vexoplay {
namespace {

constexpr const char *kKeys =
    "Keys, in the window and in the terminal:\n"
    "  space pause   left/right 5 s   down/up 60 s   < > previous/next item   [ ] speed\n"
    "  9 0 volume    m mute   v subtitles   f full screen   s still picture as PNG   q quit\n"
    "  a interrupt with --interrupt-with   i what the library tells   n wifi or mobile network\n"
    "  c change to --alternative, and back\n\n"
    "Exit codes: 0 played, 1 usage, 2 nothing playable, 3 some items failed, 4 ended by a signal, 5 internal fault";

CLI::Validator timeCheck() {
    return {[](std::string &text) { return parseTime(text) ? std::string() : "not a time: " + text; }, ""};
}

CLI::Validator headerCheck() {
    return {[](std::string &text) { return parseHeader(text) ? std::string() : "not \"Name: value\": " + text; }, ""};
}

CLI::Validator subtitlesCheck() {
    return {[](std::string &text) { return text.empty() ? text : CLI::ExistingFile(text); }, ""};
}

// Names have no slash; what is a file is told by its whole path.
CLI::Validator fontCheck() {
    return {[](std::string &text) {
                std::error_code ignored;
                const bool file = std::filesystem::is_regular_file(text, ignored);
                if (file) text = std::filesystem::absolute(text, ignored).string();
                return file || text.find('/') == std::string::npos ? std::string() : "no such font file: " + text;
            },
            ""};
}

CLI::Validator interruptionCheck() {
    return {[](std::string &text) { return parseInterruption(text) ? std::string() : "not POS=FILE: " + text; }, ""};
}

// What CLI11 reads as text and the options keep as values.
struct Texts {
    std::string start;
    std::string end;
    double volumePercent = 100.0;
    double subtitleDelay = 0.0;
    std::vector<std::string> headers;
    std::vector<std::string> interruptions;
};

void declareProgramme(CLI::App &app, Options &options, Texts &texts) {
    app.add_option("FILE|URL", options.inputs,
                   "what to play, one after the other as one programme; - reads standard input");
    app.add_option("--playlist", options.playList, "add the items of a list: a line each, or #EXTM3U")
        ->type_name("FILE");
    app.add_flag("--mixed", options.mixed, "one period whose sources are the items, instead of a period each");
    app.add_option("--start", texts.start, "begin there: seconds or [h:]m:s")->check(timeCheck())->type_name("TIME");
    app.add_option("--end", texts.end, "end there")->check(timeCheck())->type_name("TIME");
    app.add_flag("--loop", options.loop, "begin anew when the whole list is through");
    app.add_option("--interrupt", texts.interruptions, "pause there and play the files; may be repeated")
        ->check(interruptionCheck())
        ->type_name("POS=FILE[,FILE]")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--interrupt-with", options.interruptWith, "files for the key a")
        ->delimiter(',')
        ->type_name("FILE[,FILE]")
        ->allow_extra_args(false);
    app.add_option("--prefetch", options.prefetch, "items kept ready after the one that plays; default 3, 0: none")
        ->check(CLI::Range(0, 8))
        ->type_name("N");
    app.add_option("--decoder-threads", options.decoderThreads,
                   "threads of a video decoder; default: chosen by codec, picture size and rate")
        ->check(CLI::Range(1, 64))
        ->type_name("N");
    app.add_option("--alternative", options.alternative,
                   "the same content elsewhere or in another quality, for the key c")
        ->type_name("FILE|URL");
    app.add_flag("--probe", options.probe, "print items, codecs and lengths, and exit");
}

void declareSound(CLI::App &app, Options &options, Texts &texts) {
    app.add_option("--speed", options.speed, "play speed, the pitch is kept")->check(CLI::Range(0.5, 4.0));
    app.add_option("--volume", texts.volumePercent, "percent")->check(CLI::Range(0.0, 100.0));
    app.add_flag("--mute", options.mute, "begin muted");
    app.add_flag("--no-audio", options.noAudio, "leave sound out");
    app.add_flag("--no-video", options.noVideo, "leave pictures out");
    app.add_option("--audio-track", options.audioTrack, "number from 0, or a language such as deu")
        ->type_name("N|LANG");
    app.add_option("--audio-device", options.audioDevice, "name of the sound device")->type_name("NAME");
}

void declareSubtitles(CLI::App &app, Options &options, Texts &texts) {
    app.add_option("--subtitles", options.subtitles.files,
                   "subtitles of an item; repeated: of the items in their order")
        ->check(subtitlesCheck())
        ->type_name("FILE")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--subtitle-font", options.subtitles.font, "font of the subtitles")
        ->transform(fontCheck())
        ->type_name("NAME|FILE");
    app.add_option("--subtitle-delay", texts.subtitleDelay, "they come so much later; negative: earlier")
        ->check(CLI::Range(-3600.0, 3600.0))
        ->type_name("SECONDS");
}

void declareNetwork(CLI::App &app, Options &options, Texts &texts) {
    app.add_option("--ca-file", options.caFile, "certificate authorities to trust, PEM")
        ->check(CLI::ExistingFile)
        ->type_name("FILE");
    app.add_option("--user-agent", options.userAgent, "for requests")->type_name("TEXT");
    app.add_option("--header", texts.headers, "a request header; may be repeated")
        ->check(headerCheck())
        ->type_name("NAME:VALUE")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--wifi-domains", options.wifiDomains, "hosts for wifi, host[:port] separated by ','")
        ->type_name("LIST");
    app.add_option("--mobile-domains", options.mobileDomains, "hosts for the mobile network")->type_name("LIST");
}

void declareReports(CLI::App &app, Options &options) {
    app.add_option("--info", options.infoKeys,
                   "print the library's text under KEY at the end of each item; -1: the record")
        ->type_name("KEY")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--reports", options.reports, "write the reports of library and engine, a JSON object a line")
        ->type_name("FILE");
    app.add_option("--report", options.report, "write how well the buffer held, as JSON")->type_name("FILE");
    app.add_option("--plot", options.plot, "draw it as SVG")->type_name("FILE");
}

void declareOutput(CLI::App &app, Options &options) {
    app.add_flag("--no-window", options.noWindow, "play without a window");
    app.add_flag("--json", options.json, "events and a summary as JSON lines on standard output");
    app.add_flag("--untimed", options.untimed, "as fast as decoding goes, without sound, nothing dropped");
    app.add_flag("--hash", options.hash, "MD5 of the pictures of each item");
    app.add_option("--raw", options.raw, "write pictures as FILE.0.y4m, FILE.1.y4m ..., one file per item played")
        ->type_name("FILE");
}

std::string contradiction(const Options &options) {
    if (options.inputs.empty() && options.playList.empty()) return "nothing to play: name a file or a URL";
    if (options.noAudio && options.noVideo) return "--no-audio and --no-video leave nothing to play";
    if (options.untimed && options.noVideo) return "--untimed plays pictures only: it cannot go with --no-video";
    if (options.mixed && !options.alternative.empty())
        return "--alternative replaces a period: it cannot go with --mixed";
    const auto pipe = std::find_if(options.inputs.begin(), options.inputs.end(), isPipe);
    if (options.loop && pipe != options.inputs.end()) return "--loop cannot play " + *pipe + " again: it is read once";
    if (options.endMs && *options.endMs <= options.startMs.value_or(0)) return "--end lies before the start";
    return {};
}

void takeTexts(const Texts &texts, bool volumeGiven, Options &options) {
    options.startMs = parseTime(texts.start);
    options.endMs = parseTime(texts.end);
    if (volumeGiven) options.volume = texts.volumePercent / 100.0;
    options.subtitles.delayMs = static_cast<int>(std::lround(texts.subtitleDelay * 1000.0));
    for (const std::string &text : texts.interruptions) options.interruptions.push_back(*parseInterruption(text));
    for (const std::string &header : texts.headers) options.headers.push_back(*parseHeader(header));
}

}  // namespace

ParsedOptions parseOptions(int argc, const char *const *argv) {
    Options options;
    Texts texts;
    CLI::App app{"Plays files and URLs of any codecs one after the other as one programme.", "vexoplay"};
    app.footer(kKeys);
    app.set_version_flag("--version", std::string("vexoplay ") + VEXOPLAY_VERSION);
    declareProgramme(app, options, texts);
    declareSound(app, options, texts);
    declareSubtitles(app, options, texts);
    declareNetwork(app, options, texts);
    declareOutput(app, options);
    declareReports(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &success) {
        const bool version = dynamic_cast<const CLI::CallForVersion *>(&success) != nullptr;
        return {std::nullopt, version ? std::string(success.what()) + "\n" : app.help(), ExitCode::kPlayed};
    } catch (const CLI::ParseError &error) {
        return {std::nullopt, std::string("vexoplay: ") + error.what() + "\nvexoplay --help tells more\n",
                ExitCode::kUsage};
    }
    takeTexts(texts, app.count("--volume") > 0, options);
    if (const std::string text = contradiction(options); !text.empty()) {
        return {std::nullopt, "vexoplay: " + text + "\nvexoplay --help tells more\n", ExitCode::kUsage};
    }
    return {std::move(options), {}, ExitCode::kPlayed};
}

std::optional<int64_t> parseTime(const std::string &text) {
    double seconds = 0.0;
    int fields = 0;
    std::size_t from = 0;
    while (true) {
        const std::size_t colon = text.find(':', from);
        const std::string field = text.substr(from, colon == std::string::npos ? colon : colon - from);
        const bool last = colon == std::string::npos;
        if (field.empty() || field.find_first_not_of(last ? "0123456789." : "0123456789") != std::string::npos ||
            field.size() > 12 || ++fields > 3) {
            return std::nullopt;
        }
        double value = 0.0;
        const char *end = field.data() + field.size();
        const auto [used, error] = std::from_chars(field.data(), end, value);
        if (error != std::errc() || used != end || (fields > 1 && value >= 60.0)) return std::nullopt;
        seconds = seconds * 60.0 + value;
        if (last) return std::llround(seconds * 1000.0);
        from = colon + 1;
    }
}

std::optional<InterruptionPoint> parseInterruption(const std::string &text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) return std::nullopt;
    const std::optional<int64_t> position = parseTime(text.substr(0, equals));
    if (!position) return std::nullopt;
    InterruptionPoint point{*position, {}};
    for (std::size_t from = equals; from != std::string::npos;) {
        const std::size_t comma = text.find(',', from + 1);
        point.urls.push_back(text.substr(from + 1, comma == std::string::npos ? comma : comma - from - 1));
        if (point.urls.back().empty()) return std::nullopt;
        from = comma;
    }
    return point;
}

std::optional<std::pair<std::string, std::string>> parseHeader(const std::string &text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos || colon == 0) return std::nullopt;
    const std::string name = text.substr(0, colon);
    if (text.find_first_of("\r\n") != std::string::npos || name.find(' ') != std::string::npos) return std::nullopt;
    const std::size_t begin = text.find_first_not_of(" \t", colon + 1);
    if (begin == std::string::npos) return std::pair(name, std::string());
    return std::pair(name, text.substr(begin, text.find_last_not_of(" \t") + 1 - begin));
}

}  // namespace vexoplay
