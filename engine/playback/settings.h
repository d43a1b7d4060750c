#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "base/oriplayer/listener.h"
#include "base/oriplayer/render_pipeline.h"
#include "playback/crop.h"

namespace protocols {
class IConfigure;
class IReporter;
}  // namespace protocols

namespace oriplayer {

/// What the application has given to a player for later use. Users work on copies, so that nothing that is given away
/// is called or freed under the lock.
/// Threads: any. Lock: mutex_, a leaf.
class Settings {
public:
    std::shared_ptr<IOriPlayerListener> listener() const { return get(listener_); }
    void setListener(std::shared_ptr<IOriPlayerListener> listener) { put(listener_, listener); }
    std::shared_ptr<VideoRenderPipeline> pipeline() const { return get(pipeline_); }
    void setPipeline(std::shared_ptr<VideoRenderPipeline> pipeline) { put(pipeline_, pipeline); }
    void setConfigure(std::shared_ptr<protocols::IConfigure> configure) { put(configure_, configure); }
    std::shared_ptr<protocols::IReporter> reporter() const { return get(reporter_); }
    void setReporter(std::shared_ptr<protocols::IReporter> reporter) { put(reporter_, reporter); }
    std::string userAgent() const { return get(userAgent_); }
    void setUserAgent(std::string userAgent) { put(userAgent_, userAgent); }
    std::string audioDevice() const { return get(audioDevice_); }
    void setAudioDevice(std::string name) { put(audioDevice_, name); }
    Crop crop() const { return get(crop_); }
    void setCrop(Crop crop) { put(crop_, crop); }

private:
    template <typename T> T get(const T &slot) const {
        std::lock_guard lock(mutex_);
        return slot;
    }
    // What was there before dies behind the lock, with the caller's argument.
    template <typename T> void put(T &slot, T &value) {
        std::lock_guard lock(mutex_);
        std::swap(slot, value);
    }

    mutable std::mutex mutex_;
    std::shared_ptr<IOriPlayerListener> listener_;
    std::shared_ptr<VideoRenderPipeline> pipeline_;
    std::shared_ptr<protocols::IConfigure> configure_;
    std::shared_ptr<protocols::IReporter> reporter_;
    std::string userAgent_;
    std::string audioDevice_;
    Crop crop_;
};

}  // namespace oriplayer
