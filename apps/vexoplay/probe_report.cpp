#include "probe_report.h"

#include <json/value.h>

#include <cstdio>

#include "json_lines.h"

namespace vexoplay {
namespace {

using Kind = oriplayer::ProbedStream::Kind;

std::string format(const char *pattern, double value) {
    char text[64];
    std::snprintf(text, sizeof text, pattern, value);
    return text;
}

const char *nameOf(Kind kind) {
    if (kind == Kind::kVideo) return "video";
    return kind == Kind::kAudio ? "audio" : "other";
}

std::string lengthOf(const oriplayer::ProbeResult &result) {
    if (result.live) return "live";
    return result.durationMs > 0 ? format("%.3f s", static_cast<double>(result.durationMs) / 1000.0)
                                 : std::string("length unknown");
}

std::string describe(const oriplayer::ProbedStream &stream) {
    std::string text = std::string("    ") + nameOf(stream.kind) + "  " + stream.codec;
    if (stream.kind == Kind::kVideo) {
        text += " " + std::to_string(stream.width) + "x" + std::to_string(stream.height);
        if (stream.frameRate > 0.0) text += " " + format("%.6g", stream.frameRate) + "/s";
    } else if (stream.kind == Kind::kAudio) {
        text += " " + std::to_string(stream.sampleRate) + " Hz " + std::to_string(stream.channels) + " ch";
    }
    const bool known = !stream.language.empty() && stream.language != "und";
    return known ? text + " (" + stream.language + ")" : text;
}

Json::Value toJson(const oriplayer::ProbedStream &stream) {
    Json::Value value;
    value["kind"] = nameOf(stream.kind);
    value["codec"] = stream.codec;
    if (stream.kind == Kind::kVideo) {
        value["width"] = stream.width;
        value["height"] = stream.height;
        value["frame_rate"] = stream.frameRate;
    } else if (stream.kind == Kind::kAudio) {
        value["sample_rate"] = stream.sampleRate;
        value["channels"] = stream.channels;
    }
    if (!stream.language.empty()) value["language"] = stream.language;
    return value;
}

std::string errorOf(const ProbeAnswer &answer) {
    if (answer.state == ProbeAnswer::State::kAnswered) return {};
    return answer.result.error.empty() ? "no answer within 5 s" : answer.result.error;
}

Json::Value toJson(const Programme &programme, int item, const ProbeAnswer &answer) {
    Json::Value value;
    value["period"] = programme.periodOf(item);
    value["source"] = programme.sourceOf(item);
    value["url"] = programme.url(item);
    if (const std::string error = errorOf(answer); !error.empty()) {
        value["error"] = error;
        value["native"] = answer.result.nativeError;
        return value;
    }
    value["container"] = answer.result.container;
    value["duration_ms"] = Json::Int64{answer.result.durationMs};
    value["live"] = answer.result.live;
    value["streams"] = Json::arrayValue;
    for (const auto &stream : answer.result.streams) value["streams"].append(toJson(stream));
    return value;
}

}  // namespace

ProbeReport makeProbeReport(const Programme &programme, bool json) {
    ProbeReport report;
    for (int item = 0; item < programme.size(); ++item) {
        const ProbeAnswer answer = programme.probe(item);
        const std::string error = errorOf(answer);
        if (!error.empty()) {
            report.errors.push_back("item " + std::to_string(item + 1) + " of " + std::to_string(programme.size()) +
                                    " \"" + programme.url(item) + "\": " + error);
        }
        if (json) {
            report.lines.push_back(oneLine(toJson(programme, item, answer)));
        } else if (error.empty()) {
            report.lines.push_back("period " + std::to_string(programme.periodOf(item)) + " source " +
                                   std::to_string(programme.sourceOf(item)) + "  " + programme.url(item) + "  " +
                                   answer.result.container + "  " + lengthOf(answer.result));
            for (const auto &stream : answer.result.streams) report.lines.push_back(describe(stream));
        }
    }
    if (!report.errors.empty()) {
        const bool all = static_cast<int>(report.errors.size()) == programme.size();
        report.code = all ? ExitCode::kNothingPlayable : ExitCode::kSomeFailed;
    }
    return report;
}

}  // namespace vexoplay
