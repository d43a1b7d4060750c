#pragma once

#include <json/value.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "base/live_stream_sdk.h"

namespace vexo_test {

/// Takes the host's end of the report channel for its life time and writes down what arrives.
class ReportLog {
public:
    struct Entry {
        std::string module;
        std::string category;
        Json::Value report;
    };

    ReportLog() {
        live_stream_sdk::setReportHandler([this](const char *module, const char *category, const Json::Value &report) {
            {
                std::lock_guard<std::mutex> lock(mutex_);
                entries_.push_back({module, category, report});
                arrived_.notify_all();
            }
            if (onLine) onLine(report["msg"].asString());
        });
    }
    ~ReportLog() { live_stream_sdk::setReportHandler({}); }
    ReportLog(const ReportLog &) = delete;
    ReportLog &operator=(const ReportLog &) = delete;

    std::vector<Entry> take() {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(entries_, {});
    }

    /// The "msg" texts of the log lines among what arrived.
    std::vector<std::string> takeLines() {
        std::vector<std::string> lines;
        for (const auto &entry : take()) {
            if (entry.category == "ReportCategoryQZPLayerRtpLog") lines.push_back(entry.report["msg"].asString());
        }
        return lines;
    }

    /// Returns when `line` has arrived since the last take, or after 30 s.
    void awaitLine(const std::string &line) {
        std::unique_lock<std::mutex> lock(mutex_);
        arrived_.wait_for(lock, std::chrono::seconds(30), [&] {
            return std::any_of(entries_.begin(), entries_.end(),
                               [&](const Entry &entry) { return entry.report["msg"].asString() == line; });
        });
    }

    /// Called on the logging thread, behind the entry. Set it while nothing logs.
    std::function<void(const std::string &line)> onLine;

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<Entry> entries_;
};

}  // namespace vexo_test
