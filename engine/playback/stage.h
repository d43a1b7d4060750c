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

/// A failure of reading, told when what was read before it has been presented.
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

/// What the threads of one player share: the queues between them, what is wanted, what was reached, and the signals
/// that wake them. Each part locks for itself; no two locks are held at once, except the clock's or the
/// parameters' over the renderer's.
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
    std::atomic<bool> showPictures{true};  ///< false: pictures are paced and counted, not handed out

    // Set by the reader before it hands out the first item of a generation.
    std::atomic<bool> untimed{false};
    std::atomic<bool> expectVideo{false};  ///< the source in which the generation begins has pictures
    std::atomic<bool> expectAudio{false};
    std::atomic<int64_t> landingUs{INT64_MIN};  ///< play scale, where the generation begins; INT64_MIN: anywhere
    std::atomic<bool> readAll{false};           ///< there is nothing more to read
    std::atomic<uint32_t> ends{0};              ///< number of the last end that the reader has sent
    std::atomic<uint32_t> soundEnd{0};          ///< number of the last end that the sound has come to
    std::atomic<int> sourcesWait{0};            ///< added ones that the reader has not seen
    std::atomic<int64_t> readBaseUs{0};         ///< play scale minus position where the reader is
    std::atomic<int64_t> bufferedEndUs{0};      ///< position behind the last packet read
    std::atomic<uint32_t> soundReady{0};        ///< generation of which sound waits in the renderer
    std::atomic<uint32_t> soundEnded{0};        ///< generation whose sound has been decoded to its end
    std::atomic<int64_t> soundEndUs{0};         ///< play scale, end of the sound decoded last
    std::atomic<bool> catchesUp{false};         ///< the picture shown first was decoded alone; the next is under way
    std::atomic<bool> soundLost{false};         ///< no device: what is decoded is paced and goes nowhere
    std::atomic<uint32_t> shownGeneration{0};   ///< generation of what is presented

    void wakeAll();
    /// Wakes all, drops decoded pictures and makes the sound's wait for room end: what waits is out of date.
    void dropOutdated();

    /// 306 if the size is new.
    void tellSize(int width, int height);
    /// 309: a line for the application's log.
    void tellLog(const std::string &line);
    /// 1000, once.
    void tellPrepared();
    /// One of 501 to 504: final.
    void fail(PlayerEvent event, const MediaError &error);
    /// 505, once; the clock goes on without sound.
    void loseSound(const MediaError &error);

    /// Tells the end and, in front of it, the summary.
    void tellEnd();
    /// Playing stands because nothing was read: counts and reports it.
    void reportStall();

    int64_t positionUs() const;
    /// A network source is open and has not been read to its end; also while the buffer is full.
    bool downloading() const { return counters.network && !readAll && !control.over(); }
    /// It has nothing to show yet, or it plays, there is more to read, and what was read lasts less than half a second.
    bool starves() const;

private:
    ReportValues summary() const;
};

}  // namespace oriplayer
