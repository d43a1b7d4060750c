#include "buffer_report.h"

#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <utility>

namespace vexoplay {
namespace {

/// "5000,4800" as numbers.
std::vector<double> numbersOf(const std::string &text) {
    std::vector<double> numbers;
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t comma = std::min(text.find(',', from), text.size());
        double &number = numbers.emplace_back(0.0);
        std::from_chars(text.data() + from, text.data() + comma, number);
        from = comma + 1;
    }
    return numbers;
}

Json::Value arrayOf(const std::string &text) {
    Json::Value array(Json::arrayValue);
    for (const double number : numbersOf(text)) array.append(number);
    return array;
}

Json::Value timesOf(const std::vector<int64_t> &times) {
    Json::Value array(Json::arrayValue);
    for (const int64_t time : times) array.append(Json::Int64{time});
    return array;
}

}  // namespace

void BufferReport::sample(int playerId, int levelMs, int stalls, int64_t nowUs) {
    nextUs_ = nowUs + kPeriodUs;
    if (playerId < 0) return;
    const int64_t atMs = (nowUs - beganUs_) / 1000;
    if (std::exchange(playerId_, playerId) != playerId) history_.switchesMs.push_back(atMs);
    for (int &known = stalls_[playerId]; known < stalls; ++known) history_.stallsMs.push_back(atMs);
    history_.levels.push_back({atMs, levelMs});
    impairment_.onBufferLevel(levelMs);
    impairment_.addBufferSample(levelMs, false);
    addScores(atMs);
}

void BufferReport::addScores(int64_t atMs) {
    const std::vector<double> scores = numbersOf(impairment_.getScoreStr());
    for (std::size_t i = history_.scores.size(); i < scores.size(); ++i) history_.scores.push_back({atMs, scores[i]});
}

void BufferReport::addRecord(int item, std::string text) {
    records_.push_back({item, std::move(text)});
}

std::string BufferReport::json() {
    Json::Value report;
    report["record"] = records_.empty() ? "" : records_.back().text;
    report["records"] = Json::arrayValue;
    for (const Record &record : records_) {
        Json::Value value;
        value["item"] = record.item;
        value["text"] = record.text;
        report["records"].append(value);
    }
    report["impairment"] = impairment_.getImpairInfoStr();
    report["buffer_samples_ms"] = arrayOf(impairment_.getBufferSampleStr());
    report["scores"] = arrayOf(impairment_.getScoreStr());
    report["levels"] = Json::arrayValue;
    for (const Level &level : history_.levels) {
        Json::Value value;
        value["t_ms"] = Json::Int64{level.atMs};
        value["buffer_ms"] = level.levelMs;
        report["levels"].append(value);
    }
    report["switches_ms"] = timesOf(history_.switchesMs);
    report["stalls_ms"] = timesOf(history_.stallsMs);
    Json::StreamWriterBuilder builder;
    builder["indentation"] = " ";
    builder["precision"] = 6;
    return Json::writeString(builder, report) + "\n";
}

int stallsIn(const std::string &monitorText) {
    static constexpr char kLabel[] = "stalls:";
    const std::size_t place = monitorText.find(kLabel);
    return place == std::string::npos ? 0 : std::atoi(monitorText.c_str() + place + sizeof kLabel - 1);
}

std::string writeText(const std::string &path, const std::string &text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    return file ? std::string() : "cannot write \"" + path + "\"";
}

}  // namespace vexoplay
