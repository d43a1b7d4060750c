#include "report_file.h"

#include <json/value.h>

#include <fstream>
#include <mutex>

#include "base/live_stream_sdk.h"
#include "interface/vexo_player.h"
#include "json_lines.h"

namespace vexoplay {

class ReportFile::Writer {
public:
    explicit Writer(const std::string &path) : path_(path), file_(path, std::ios::binary) {}

    void write(const char *module, const char *category, const Json::Value &report) {
        Json::Value line;
        line["module"] = module;
        line["category"] = category;
        line["report"] = report;
        const std::string text = oneLine(line);
        std::lock_guard lock(mutex_);
        file_ << text << '\n';
    }
    // Flushed, so that a disk that is full is told while the player still runs.
    std::string error() {
        std::lock_guard lock(mutex_);
        file_.flush();
        return file_ ? std::string() : "cannot write \"" + path_ + "\"";
    }

private:
    const std::string path_;
    std::mutex mutex_;  ///< leaf: reports come under other locks
    std::ofstream file_;
};

ReportFile::ReportFile(const std::string &path) : writer_(std::make_shared<Writer>(path)) {
    live_stream_sdk::setReportHandler(
        [writer = writer_](const char *module, const char *category, const Json::Value &report) {
            writer->write(module, category, report);
        });
    // The library's log lines join the reports with the first player of the facade, and stay when it goes.
    VexoPlayerNS::IVexoPlayer::create(nullptr, {{"videoPipelineEnable", false}});
}

ReportFile::~ReportFile() {
    live_stream_sdk::setReportHandler({});
}

std::string ReportFile::error() const {
    return writer_->error();
}

}  // namespace vexoplay
