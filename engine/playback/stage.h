#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "input/host_route.h"
#include "output/audio_renderer.h"
#include "playback/control.h"
#include "playback/counters.h"
#include "playback/data_source.h"
#include "playback/download_speed.h"
#include "playback/notifier.h"
#include "playback/packet_queue.h"
#include "playback/picture_queue.h"
#include "playback/play_clock.h"
#include "playback/programme.h"
#include "playback/settings.h"
#include "playback/signal.h"
#include "playback/variant_times.h"
#include "subtitle/subtitles.h"
#include "surface/surface.h"

namespace oriplayer {

/// A failure of reading. It is reported after everything that was read before it has been presented.
/// Threads: any.
class DeferredFailure {
public:
    struct Failure {
        PlayerEvent event = kEventReadFailed;
        MediaError error;
    };
    void set(Failure failure) {
        std::lock_guard lock(mutex_);
        failure_ = std::move(failure);
    }
    void clear() {
        std::lock_guard lock(mutex_);
        failure_.reset();
    }
    std::optional<Failure> get() const {
        std::lock_guard lock(mutex_);
        return failure_;
    }

private:
    mutable std::mutex mutex_;
    std::optional<Failure> failure_;
};

/// What the threads of one player share: the queues between them, the requested and the reached state, and the signals
/// that wake them. Each part has its own lock. A thread holds only one of them at a time, except that the renderer's
/// lock is taken under the clock's or the parameters' lock.
///
///   ori-read ── videoPackets ──▶ ori-video ── pictures ──▶ ori-show ──▶ pipeline
///       └────── audioPackets ──▶ ori-audio ──▶ sound (the device's thread)
///   all ── notifier ──▶ ori-event ──▶ listener
struct Stage {
    explicit Stage(int playerId) : id(playerId) {}

    const int id;
    const SteadyTime made = std::chrono::steady_clock::now();
    Control control;
    Settings settings;
    Counters counters;
    Programme programme;
    Notifier notifier{id, settings};
    CallbackGate pictureGate;
    DeferredFailure failure;
    Subtitles subtitles{[this](const std::string &line) { tellLog(line); }};
    Surface surface{[this](const std::string &line) { tellLog(line); }};
    DownloadSpeed downloadSpeed;
    VariantTimes variants;
    const std::shared_ptr<HostRoute> route = std::make_shared<HostRoute>();

    PacketQueue videoPackets;
    PacketQueue audioPackets;
    PictureQueue pictures;
    AudioRenderer sound;
    PlayClock clock{sound};

    Signal readWake;
    Signal videoWake;
    Signal audioWake;
    Signal showWake;

    std::atomic<bool> looping{false};
    std::atomic<bool> showPictures{true};  ///< false: pictures are timed and counted, but not handed out

    // The reader sets these four before it queues the first item of a generation.
    std::atomic<bool> untimed{false};
    std::atomic<bool> expectVideo{false};  ///< the generation begins in a source that has pictures
    std::atomic<bool> expectAudio{false};
    std::atomic<int64_t> landingUs{INT64_MIN};  ///< play scale, where the generation begins; INT64_MIN: anywhere

    std::atomic<bool> readAll{false};       ///< there is nothing more to read
    std::atomic<uint32_t> ends{0};          ///< number of the last end that the reader has queued
    std::atomic<uint32_t> soundEnd{0};      ///< number of the last end that the sound has reached
    std::atomic<int> sourcesWait{0};        ///< number of added sources that the reader has not seen
    std::atomic<int64_t> readBaseUs{0};     ///< play scale minus position, at the place where the reader is
    std::atomic<int64_t> bufferedEndUs{0};  ///< end position of the last packet read
    std::atomic<uint32_t> soundReady{0};    ///< generation of the sound that waits in the renderer
    std::atomic<uint32_t> soundEnded{0};    ///< generation whose sound has been decoded to its end
    std::atomic<int64_t> soundEndUs{0};     ///< play scale, end of the last sound decoded
    std::atomic<bool> catchesUp{false};     ///< the first picture was decoded alone; the next is not decoded yet
    std::atomic<bool> decoderHolds{false};  ///< set by ori-video: the decoder may hold pictures back
    std::atomic<bool> wantsHeld{false};     ///< set by ori-show: ori-video shall hand out what the decoder holds back
    std::atomic<bool> soundLost{false};     ///< no device: decoded sound is timed and dropped
    std::atomic<uint32_t> shownGeneration{0};  ///< generation of what is presented

    void wakeAll();
    /// Called when queued data is out of date: wakes all threads, drops decoded pictures and ends the sound thread's
    /// wait for room.
    void dropOutdated();

    /// Raises 306 if the size has changed.
    void tellSize(int width, int height);
    /// Raises 309, a line for the application's log.
    void tellLog(const std::string &line);
    /// Raises 1000, once.
    void tellPrepared();
    /// Raises `event`, one of 501 to 504, and ends playback.
    void fail(PlayerEvent event, const MediaError &error);
    /// Raises 505, once; the clock continues without sound.
    void loseSound(const MediaError &error);

    /// Sends the summary report, then raises the end.
    void tellEnd();
    /// Counts and reports a stall: playback has stopped because nothing was read.
    void reportStall();

    int64_t positionUs() const;
    /// True if a network source is open and has not been read to its end, also while the buffer is full.
    bool downloading() const { return counters.network && !readAll && !control.over(); }
    /// True if there is nothing to show yet, or if the player plays with more to read and less than half a second of
    /// data left.
    bool starves() const;

private:
    ReportValues summary() const;
};

}  // namespace oriplayer
