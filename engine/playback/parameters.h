#pragma once

#include <mutex>

#include "base/oriplayer/param.h"
#include "playback/session.h"

namespace oriplayer {

/// The numbered parameters of a player. A query reads stored values and does no input or output.
/// Threads: any. Lock: loudnessMutex_; the renderer's lock is taken under it.
class Parameters {
public:
    explicit Parameters(Session &session) : session_(session) {}

    /// Returns 0, or -1 for an unsupported number or an invalid value.
    int set(int number, const Param &value);
    /// Writes the answer to `value` and returns 0; an answer that is not known yet is 0. Returns -1 if the number does
    /// not apply.
    int get(int number, Param &value) const;

private:
    int setVolume(float volume);
    int setMute(bool muted);
    int setDevice(const char *name);
    int setSpeed(double speed);
    int setShowPictures(bool show);
    int setRotation(const Param &value);
    int setOrientation(int value);
    int setSurfaceSize(const Param &value);
    int setSubtitles(const Param &value);
    int setSubtitleLook(const Param &value);
    VariantTimes::Report hlsReport() const;
    void getHlsState(Param &answer) const;
    void getBuffer(Param &answer) const;
    void getStatistics(Param &answer) const;
    bool lacksVideo() const;

    float heardVolume() const;
    int64_t usedBytes() const;

    Session &session_;
    mutable std::mutex loudnessMutex_;  // guards the three values below
    float volume_ = 1.0f;
    bool volumeOff_ = false;  // a mute set before prepareAsync: the volume is 0 until one above 0 is set
    bool muted_ = false;
};

}  // namespace oriplayer
