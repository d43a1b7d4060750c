#include "json_lines.h"

#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <utility>

namespace vexoplay {
namespace {

std::string sizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

void addPlace(Json::Value &value, const Programme &programme, int item) {
    const bool known = item >= 0 && item < programme.size();
    value["period"] = known ? programme.periodOf(item) : -1;
    value["source"] = known ? programme.sourceOf(item) : -1;
}

// Every interrupting file is a period of its own.
void addPlaceAside(Json::Value &value, int item) {
    value["period"] = item;
    value["source"] = 0;
}

/// What is known of the file itself.
void addFile(Json::Value &value, const BoundRecord &bound, const Programme &programme) {
    const bool known = bound.timeline == 0 && bound.item >= 0;
    const ProbeAnswer probe = known ? programme.probe(bound.item) : ProbeAnswer{};
    value["url"] = known ? programme.url(bound.item) : bound.url;
    value["duration_ms"] = Json::Int64{known ? programme.lengthMs(bound.item) : bound.lengthMs};
    value["codec"] = probe.codec();
}

Json::Value boundValue(const BoundRecord &bound, const Programme &programme, bool hash) {
    Json::Value value;
    value["timeline"] = bound.timeline;
    bound.timeline == 1 ? addPlaceAside(value, bound.item) : addPlace(value, programme, bound.item);
    value["pictures"] = Json::Int64{bound.pictures};
    value["dropped"] = bound.dropped;
    value["late"] = Json::Int64{bound.late};
    addFile(value, bound, programme);
    value["size"] = bound.width > 0 ? Json::Value(sizeText(bound.width, bound.height)) : Json::Value();
    if (hash) value["md5"] = bound.md5.empty() ? Json::Value() : Json::Value(bound.md5);
    return value;
}

Json::Value switchValue(const BoundSwitch &change) {
    Json::Value value;
    value["from"] = change.from;
    value["to"] = change.to;
    value["gap_ms"] = change.measured ? Json::Value(change.gapMs) : Json::Value();
    return value;
}

Json::Value errorValue(const PlayEvent &error, const Programme &programme) {
    Json::Value value;
    value["timeline"] = error.timeline;
    error.timeline == 1 ? addPlaceAside(value, error.item) : addPlace(value, programme, error.item);
    value["url"] = error.timeline == 1 ? error.url : error.item >= 0 ? programme.url(error.item) : "";
    value["event"] = error.number;
    value["native"] = error.nativeError;
    value["text"] = error.text;
    return value;
}

Json::Value firstPicture(const SummaryFacts &facts) {
    int64_t first = 0;
    for (const BoundRecord &bound : facts.bounds) {
        if (bound.pictures > 0 && (first == 0 || bound.firstPictureUs < first)) first = bound.firstPictureUs;
    }
    return first == 0 ? Json::Value() : Json::Value(static_cast<double>(first - facts.beganUs) / 1000.0);
}

}  // namespace

const char *attemptOf(int eventNumber) {
    switch (eventNumber) {
        case kEventOpenFailed:
            return "opening";
        case kEventNothingToPlay:
            return "looking for something to play";
        case kEventReadFailed:
            return "reading";
        case kEventDecodeFailed:
            return "decoding";
        case kEventSoundFailed:
            return "sound output";
        default:
            return "preparing";
    }
}

std::string oneLine(const Json::Value &value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["precisionType"] = "decimal";
    builder["precision"] = 3;  // microseconds of what counts in milliseconds
    return Json::writeString(builder, value);
}

std::string eventLine(const PlayEvent &event, const Programme &programme, int64_t beganUs) {
    Json::Value value;
    value["event"] = event.number;
    value["timeline"] = event.timeline;
    event.timeline == 1 ? addPlaceAside(value, event.item) : addPlace(value, programme, event.item);
    value["position_ms"] = Json::Int64{event.positionMs};
    value["t_ms"] = static_cast<double>(event.wallUs - beganUs) / 1000.0;
    value["ext1"] = event.ext1;
    value["ext2"] = event.ext2;
    if (event.number == kEventSize) {
        value["width"] = event.width;
        value["height"] = event.height;
    }
    if (event.fatal() || event.changeFailed() || event.number == kEventSoundFailed) {
        value["native"] = event.nativeError;
        value["text"] = event.text;
    }
    return oneLine(value);
}

std::string infoLine(int item, int key, const std::string &text, const Programme &programme) {
    Json::Value value;
    value["info"] = key;
    addPlace(value, programme, item);
    value["text"] = text;
    return oneLine(value);
}

std::vector<BoundSwitch> switchesOf(const std::vector<BoundRecord> &bounds) {
    std::vector<BoundSwitch> switches;
    std::size_t before = bounds.size();
    for (std::size_t i = 0; i < bounds.size(); ++i) {
        if (bounds[i].timeline != 0) continue;
        const std::size_t last = std::exchange(before, i);
        if (last == bounds.size()) continue;
        const BoundRecord &from = bounds[last];
        const BoundRecord &to = bounds[i];
        BoundSwitch change{static_cast<int>(last), static_cast<int>(i), from.pictures > 0 && to.pictures > 0, 0.0};
        if (change.measured) {
            change.gapMs = static_cast<double>(to.firstPictureUs - from.lastPictureUs - from.lastIntervalUs) / 1000.0;
        }
        switches.push_back(change);
    }
    return switches;
}

std::string summaryLine(const SummaryFacts &facts, const Programme &programme) {
    Json::Value summary;
    int64_t pictures = 0;
    int64_t late = 0;
    uint64_t dropped = 0;
    summary["bounds"] = Json::arrayValue;
    for (const BoundRecord &bound : facts.bounds) {
        pictures += bound.pictures;
        late += bound.late;
        dropped += bound.dropped;
        summary["bounds"].append(boundValue(bound, programme, facts.hash));
    }
    summary["switches"] = Json::arrayValue;
    for (const BoundSwitch &change : switchesOf(facts.bounds)) summary["switches"].append(switchValue(change));
    summary["errors"] = Json::arrayValue;
    for (const PlayEvent &error : facts.errors) summary["errors"].append(errorValue(error, programme));
    summary["exit"] = facts.exit;
    summary["duration_ms"] = Json::Int64{programme.totalMs()};
    summary["pictures"] = Json::Int64{pictures};
    summary["dropped"] = Json::UInt64{dropped};
    summary["late"] = Json::Int64{late};
    summary["first_picture_ms"] = firstPicture(facts);
    summary["cpu_s"] = facts.cpuSeconds;
    summary["rss_kb"] = Json::Int64{facts.residentKb};
    Json::Value line;
    line["summary"] = std::move(summary);
    return oneLine(line);
}

}  // namespace vexoplay
