// What the player writes about a playback beside its summary.
#include <algorithm>

#include "application.h"
#include "codec/media_keys.h"
#include "json_lines.h"
#include "steady_clock.h"

namespace vexoplay {

void Application::openReports() {
    if (!options_.reports.empty()) reports_ = std::make_unique<ReportFile>(options_.reports);
    if (!options_.report.empty() || !options_.plot.empty()) bufferReport_ = std::make_unique<BufferReport>(beganUs_);
}

void Application::sampleReport() {
    const int64_t nowUs = steadyUs();
    if (bufferReport_ && bufferReport_->due(nowUs)) {
        // The library's texts are about the programme alone, also while a file interrupts it.
        const std::string monitor =
            session_->interrupted() ? "" : session_->info(vexo::KVPLAYER_INFO_KEY_GET_PLAYER_MONITOR_INFO);
        bufferReport_->sample(session_->playerId(), session_->bufferedMs(), stallsIn(monitor), nowUs);
    }
    if (reports_) {
        if (const std::string error = reports_->error(); !error.empty()) fault(error);
    }
}

void Application::showInfo(int item, int key, const std::string &text) {
    if (bufferReport_ && key == vexo::KVPLAYER_INFO_KEY_ALL) bufferReport_->addRecord(item, text);
    if (std::count(options_.infoKeys.begin(), options_.infoKeys.end(), key) == 0) return;
    output_.add(options_.json ? infoLine(item, key, text, programme_) : text);
}

// An item that is left in the middle brings no end, and no text with it.
void Application::showLastInfo() {
    const int item = ending_ == Ending::kThrough ? -1 : session_->item();
    if (item < 0) return;
    for (const int key : session_->infoKeys()) showInfo(item, key, session_->info(key));
}

void Application::writeReports() {
    if (reports_) {
        const std::string error = reports_->error();
        reports_.reset();
        if (!error.empty()) fault(error);
    }
    if (!bufferReport_) return;
    const auto write = [this](const std::string &path, const std::string &text) {
        if (path.empty()) return;
        if (const std::string error = writeText(path, text); !error.empty()) fault(error);
    };
    write(options_.report, bufferReport_->json());
    write(options_.plot, plotSvg(bufferReport_->history()));
}

void Application::toggleNetwork() {
    if (!configuration_) {
        note("no hosts to change to: --wifi-domains, --mobile-domains");
        return;
    }
    note(configuration_->toggleNetwork() ? "network: wifi" : "network: mobile");
}

}  // namespace vexoplay
