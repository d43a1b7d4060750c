#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "bound_log.h"
#include "buffer_report.h"
#include "ending.h"
#include "host_configuration.h"
#include "line_output.h"
#include "options.h"
#include "picture_slot.h"
#include "picture_tap.h"
#include "player_session.h"
#include "probe_stage.h"
#include "programme.h"
#include "report_file.h"
#include "signals.h"
#include "status_line.h"
#include "terminal_keys.h"
#include "wake_up.h"
#include "window.h"

namespace vexoplay {

/// The player as a person meets it: one loop over keys, events, pictures, signals and the status line.
/// Threads:  the main thread, which is the window's; others only wake it.
class Application {
public:
    /// `output` is the descriptor for what belongs on standard output.
    Application(Options options, std::vector<ListedItem> items, int output);
    ~Application();

    ExitCode run();

private:
    ExitCode runProbe();
    void startProbes();
    bool waitForProbes();
    void openOutputs();
    void play();
    bool step();
    void wait();
    void handleSignals();
    void handleKey(Key key);
    void handleEvent(const PlayEvent &event);
    bool mayLeave();
    void changeSource();
    void seekBy(int64_t milliseconds);
    void changeSpeed(int direction);
    void changeVolume(double by);
    void saveStillPicture();
    void openReports();
    void sampleReport();
    void showLastInfo();
    void writeReports();
    void toggleNetwork();
    void showInfo(int item, int key, const std::string &text);
    void showPicture();
    void showTitle();
    void showStatus();
    std::string stateAt(int64_t positionMs, bool opening);
    void noteSeek(const Programme::Place &place);
    void note(std::string text);
    bool beginAgain();
    void fault(const std::string &text);
    ExitCode conclude();
    void report(ExitCode code, const std::vector<BoundRecord> &bounds);
    std::string itemName(int item) const;

    const Options options_;
    const int64_t beganUs_;
    LineOutput output_;
    WakeUp wakeUp_;
    Signals signals_;
    StatusLine status_;
    Programme programme_;
    BoundLog log_;
    PictureSlot slot_;
    std::optional<TerminalKeys> terminal_;
    std::unique_ptr<Window> window_;
    std::unique_ptr<ProbeStage> probes_;
    std::unique_ptr<ReportFile> reports_;
    std::unique_ptr<BufferReport> bufferReport_;
    std::shared_ptr<HostConfiguration> configuration_;  ///< empty without hosts for both networks
    std::shared_ptr<PictureTap> tap_;
    std::unique_ptr<PlayerSession> session_;

    Ending ending_ = Ending::kNone;
    StagedPicture picture_;
    std::vector<PlayEvent> errors_;
    std::ptrdiff_t roundBegan_ = 0;  ///< bounds entered before the present round of --loop
    bool probesLater_ = false;       ///< the only item is asked beside playing, once it plays
    bool presentedEver_ = false;
    bool soundWarned_ = false;
    std::set<int> subtitlesWarned_;  ///< items
    std::string note_;
    int64_t noteUntilUs_ = 0;
    int64_t lastPositionMs_ = -1;  ///< as the status line told it, and since when it has told the same
    int64_t standsSinceUs_ = 0;
};

}  // namespace vexoplay
