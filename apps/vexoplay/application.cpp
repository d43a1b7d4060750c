#include "application.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "base/oriplayer/module.h"
#include "codec/media_keys.h"
#include "json_lines.h"
#include "probe_report.h"
#include "steady_clock.h"

namespace vexoplay {
namespace {

constexpr int kTickMs = 20;             // keys and the end of the programme are noticed that fast at the latest
constexpr int64_t kStandsUs = 400'000;  // a position that stays for longer waits for data
constexpr int64_t kLateProbeUs = 1'000'000;
constexpr int kOutputPatienceMs = 2000;
constexpr unsigned int kLastResortSeconds = 5;

void setEngineProperties(const Options &options) {
    const auto set = [](int number, const std::string &text) {
        if (!text.empty()) oriplayer::setProperty(number, text.c_str());
    };
    set(oriplayer::kPropertyUntimed, options.untimed ? "1" : "");
    set(oriplayer::kPropertySoundOff, options.noAudio ? "1" : "");
    set(oriplayer::kPropertyPictureOff, options.noVideo ? "1" : "");
    set(oriplayer::kPropertyAudioTrack, options.audioTrack);
    set(oriplayer::kPropertyCaFile, options.caFile);
    const auto text = [](const std::optional<int> &number) { return number ? std::to_string(*number) : ""; };
    set(oriplayer::kPropertyPreloadWindow, text(options.prefetch));
    set(oriplayer::kPropertyDecoderThreads, text(options.decoderThreads));
}

PlayerSession::Config sessionConfig(const Options &options, const WakeUp &wakeUp) {
    PlayerSession::Config config;
    config.speed = options.speed;
    config.volume = options.volume;
    config.mute = options.mute;
    config.audioDevice = options.audioDevice;
    config.subtitles = options.subtitles;
    config.userAgent = options.userAgent;
    config.headers = options.headers;
    config.startMs = options.startMs.value_or(0);
    config.endMs = options.endMs;
    config.interruptions = options.interruptions;
    config.interruptWith = options.interruptWith;
    config.alternative = options.alternative;
    config.preload = options.prefetch == 0 ? Programme::Preload::kOff : Programme::Preload::kOn;
    config.infoKeys = options.infoKeys;
    const bool record = std::count(options.infoKeys.begin(), options.infoKeys.end(), vexo::KVPLAYER_INFO_KEY_ALL) > 0;
    if (!options.report.empty() && !record) config.infoKeys.push_back(vexo::KVPLAYER_INFO_KEY_ALL);
    config.reports = !options.reports.empty();
    config.wake = [&wakeUp] { wakeUp.wake(); };
    return config;
}

}  // namespace

Application::Application(Options options, std::vector<ListedItem> items, int output)
    : options_(std::move(options)),
      beganUs_(steadyUs()),
      output_(output),
      programme_(std::move(items), options_.mixed ? Programme::Shape::kOneMixedPeriod : Programme::Shape::kPeriodEach) {
    if (!options_.wifiDomains.empty() || !options_.mobileDomains.empty()) {
        configuration_ = std::make_shared<HostConfiguration>(options_.wifiDomains, options_.mobileDomains);
    }
}

Application::~Application() {
    session_.reset();  // before the tap and the log that its threads use
}

std::string Application::itemName(int item) const {
    if (item < 0) return "the programme";
    return "item " + std::to_string(item + 1) + " of " + std::to_string(programme_.size()) + " \"" +
           programme_.url(item) + "\"";
}

ExitCode Application::run() {
    setEngineProperties(options_);
    if (options_.probe) return runProbe();
    // A single network item needs no length in advance, and a server may grant but one connection at a time.
    probesLater_ = programme_.size() == 1 && isNetworkUrl(programme_.url(0));
    if (probesLater_ || waitForProbes()) {
        openOutputs();
        play();
    }
    return conclude();
}

void Application::startProbes() {
    ProbeStage::Config config{options_.userAgent, options_.headers, 0, options_.probe, [this] { wakeUp_.wake(); }};
    if (!options_.probe) config.networkBudgetMs = ProbeStage::kItemMs;
    probes_ = std::make_unique<ProbeStage>(programme_, std::move(config));
}

bool Application::waitForProbes() {
    startProbes();
    while (!probes_->finished() && ending_ == Ending::kNone) {
        wait();
        handleSignals();
    }
    return ending_ == Ending::kNone;
}

ExitCode Application::runProbe() {
    if (!waitForProbes()) return ExitCode::kSignal;
    const ProbeReport report = makeProbeReport(programme_, options_.json);
    for (const std::string &line : report.lines) output_.add(line);
    for (const std::string &error : report.errors) status_.message(error);
    if (output_.flush(kOutputPatienceMs)) return report.code;
    status_.message("cannot write to standard output: " + output_.error());
    return ExitCode::kInternal;
}

void Application::openOutputs() {
    terminal_.emplace();
    if (!options_.noWindow && !options_.noVideo) {
        std::string why;
        window_ = Window::create(why);
        if (!window_) status_.message("no display (" + why + "): playing without a window");
    }
    openReports();
    PlayerSession::Config config = sessionConfig(options_, wakeUp_);
    config.configuration = configuration_;
    session_ = std::make_unique<PlayerSession>(programme_, log_, std::move(config));
    PictureTap::Config tap;
    tap.hash = options_.hash;
    tap.rawStem = options_.raw;
    tap.stage = window_ || terminal_->descriptor() >= 0;
    tap.playerId = [this] { return session_->playerId(); };
    tap.speed = [this] { return session_->speed(); };
    tap.cut = [this](int playerId, int64_t positionUs) { return session_->liesBehindEnd(playerId, positionUs); };
    tap.pass = [this] { session_->passPicture(); };
    tap.shown = [this](int playerId, int64_t positionUs) { session_->pictureShown(playerId, positionUs); };
    tap.wake = [this] { wakeUp_.wake(); };
    tap_ = std::make_shared<PictureTap>(std::move(tap), log_, slot_);
    session_->attach(tap_);
}

void Application::play() {
    session_->begin();
    if (options_.startMs && session_->durationMs() > 0 && !programme_.placeOf(*options_.startMs).lengthUnknown &&
        *options_.startMs >= session_->durationMs()) {
        status_.message("--start lies behind the end of the programme");
    }
    while (step()) wait();
}

bool Application::step() {
    handleSignals();
    if (probes_ && probes_->finished()) probes_.reset();  // its threads go as soon as they are through
    for (const Key key : terminal_->read()) handleKey(key);
    if (window_) {
        for (const Key key : window_->takeKeys()) handleKey(key);
    }
    for (const PlayEvent &event : session_->poll()) handleEvent(event);
    presentedEver_ = presentedEver_ || session_->presented();
    showPicture();
    sampleReport();
    output_.pump();
    if (!output_.error().empty()) fault("cannot write to standard output: " + output_.error());
    if (const std::string error = tap_->error(); !error.empty()) fault(error);
    if (status_.due(steadyUs())) showStatus();
    if (ending_ == Ending::kNone && session_->ended() && !(options_.loop && beginAgain())) ending_ = Ending::kThrough;
    return ending_ == Ending::kNone;
}

// Another round, unless the last one has shown nothing at all.
bool Application::beginAgain() {
    for (const PlayEvent &event : session_->poll()) handleEvent(event);
    const std::vector<BoundRecord> bounds = log_.all();
    const bool pictures = std::any_of(bounds.begin() + roundBegan_, bounds.end(),
                                      [](const BoundRecord &bound) { return bound.pictures > 0; });
    if (!pictures && !session_->presented()) return false;
    roundBegan_ = static_cast<std::ptrdiff_t>(bounds.size());
    session_->begin();
    return true;
}

void Application::wait() {
    std::array<pollfd, 3> waits{{{wakeUp_.descriptor(), POLLIN, 0},
                                 {signals_.descriptor(), POLLIN, 0},
                                 {terminal_ ? terminal_->descriptor() : -1, POLLIN, 0}}};
    poll(waits.data(), waits.size(), kTickMs);
    wakeUp_.drain();
    signals_.drain();
}

void Application::handleSignals() {
    if (signals_.ending() != 0) {
        ending_ = Ending::kSignal;
        armLastResort(kLastResortSeconds, static_cast<int>(ExitCode::kSignal));
    }
    if (!signals_.takeSuspend()) return;
    const bool pausing = session_ && !session_->paused();
    if (pausing) session_->togglePause();
    status_.clear();
    restoreTerminal();
    signals_.suspend();
    if (terminal_) terminal_->resume();
    if (session_) session_->forgive();
    if (pausing) session_->togglePause();
}

void Application::handleEvent(const PlayEvent &event) {
    const bool plays = event.number == kEventFirstPresented && ending_ == Ending::kNone;
    if (plays && std::exchange(probesLater_, false)) startProbes();
    if (options_.json) output_.add(eventLine(event, programme_, beganUs_));
    for (const auto &[key, text] : event.infos) showInfo(event.item, key, text);
    if (event.number == kEventSoundFailed && !std::exchange(soundWarned_, true)) {
        status_.message("warning: no sound: " + event.text + " (event 505)");
    }
    if (event.subtitlesFailed && subtitlesWarned_.insert(event.item).second) {
        status_.message("warning: the subtitles of " + itemName(event.item) + " cannot be read");
    }
    if (event.changeFailed()) status_.message("warning: " + event.text + " (event 503): what played before goes on");
    if (!event.fatal()) return;
    errors_.push_back(event);
    const std::string name = event.timeline == 1 ? "interrupting file \"" + event.url + "\"" : itemName(event.item);
    status_.message(name + ": " + attemptOf(event.number) +
                    " failed: " + (event.text.empty() ? "no reason given" : event.text) + " (event " +
                    std::to_string(event.number) + ", error " + std::to_string(event.nativeError) + ")");
}

void Application::showPicture() {
    if (!slot_.fetch(picture_) || !window_) return;
    showTitle();
    if (const std::string error = window_->show(picture_); !error.empty()) {
        status_.message("no window (" + error + "): playing without one");
        window_.reset();
    }
}

void Application::showTitle() {
    const std::optional<BoundRecord> bound = log_.find(session_->playerId());
    if (!bound || bound->item < 0 || bound->timeline != 0) return;
    const std::string &title = programme_.title(bound->item);
    window_->setTitle((title.empty() ? programme_.url(bound->item) : title) + " - vexoplay");
}

// A player that neither moves nor was told to stand waits for data.
std::string Application::stateAt(int64_t positionMs, bool opening) {
    const bool moves = positionMs != std::exchange(lastPositionMs_, positionMs);
    if (moves || opening || session_->paused()) standsSinceUs_ = steadyUs();
    if (session_->paused()) return "paused";
    if (opening) return "opening";
    return steadyUs() - standsSinceUs_ > kStandsUs ? "buffering" : "playing";
}

void Application::showStatus() {
    const int item = session_->item();
    const std::optional<BoundRecord> bound = log_.find(session_->playerId());
    StatusFacts facts;
    facts.positionMs = session_->positionMs();
    facts.state = stateAt(facts.positionMs, bound && !bound->prepared);
    facts.totalMs = programme_.totalMs();
    facts.totalUncertain = programme_.placeOf(INT64_MAX).lengthUnknown;
    facts.item = item + 1;
    facts.items = programme_.size();
    if (item >= 0) facts.codec = programme_.probe(item).codec();
    if (bound) facts.width = bound->width, facts.height = bound->height;
    facts.dropped = log_.droppedInAll();
    facts.speed = session_->speed();
    facts.volumePercent = static_cast<int>(session_->volume() * 100.0 + 0.5);
    facts.muted = session_->muted();
    if (steadyUs() < noteUntilUs_) facts.note = note_;
    status_.show(facts, steadyUs());
}

void Application::fault(const std::string &text) {
    if (ending_ == Ending::kFault) return;
    status_.message(text);
    ending_ = Ending::kFault;
}

ExitCode Application::conclude() {
    armLastResort(kLastResortSeconds,
                  static_cast<int>(ending_ == Ending::kSignal ? ExitCode::kSignal : ExitCode::kInternal));
    const int64_t patientUntilUs = steadyUs() + kLateProbeUs;  // the summary tells the codec
    // Untimed, the end can be here before the first picture was heard of.
    if (options_.json && ending_ == Ending::kThrough && std::exchange(probesLater_, false)) startProbes();
    while (options_.json && ending_ == Ending::kThrough && probes_ && !probes_->finished() &&
           steadyUs() < patientUntilUs) {
        wait();
    }
    probes_.reset();
    if (session_) {
        for (const PlayEvent &event : session_->poll()) handleEvent(event);
        presentedEver_ = presentedEver_ || session_->presented();
        showLastInfo();
        session_->close();
        writeReports();
        if (const std::string error = tap_->error(); !error.empty()) fault(error);
    }
    window_.reset();
    status_.clear();
    terminal_.reset();
    const std::vector<BoundRecord> bounds = log_.all();
    const ExitCode code = exitCodeOf(ending_, bounds, errors_, presentedEver_);
    report(code, bounds);
    if (output_.flush(kOutputPatienceMs) || ending_ == Ending::kFault) return code;
    status_.message("cannot write to standard output: " + output_.error());
    return code == ExitCode::kSignal ? code : ExitCode::kInternal;
}

void Application::report(ExitCode code, const std::vector<BoundRecord> &bounds) {
    if (options_.json) {
        SummaryFacts facts;
        facts.exit = exitWordOf(ending_, code);
        facts.beganUs = beganUs_;
        facts.hash = options_.hash;
        facts.bounds = bounds;
        facts.errors = errors_;
        const Usage usage = usageOfProcess();
        facts.cpuSeconds = usage.cpuSeconds;
        facts.residentKb = usage.residentKb;
        output_.add(summaryLine(facts, programme_));
    } else if (options_.hash) {
        for (const BoundRecord &bound : bounds) {
            output_.add((bound.md5.empty() ? std::string(32, '-') : bound.md5) + "  " + std::to_string(bound.pictures) +
                        "  " + (bound.item < 0 ? "" : programme_.url(bound.item)));
        }
    }
}

}  // namespace vexoplay
