#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "base/report_log.h"
#include "interface/vexo_player.h"

namespace VexoPlayerNS {

/// What an application hears, with a hook for each kind of callback.
class Application : public IVexoPlayerCallback {
public:
    void onPlayEvent(int sid, int code, std::string, VexoParams) override {
        std::function<void(int)> handler;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            events_.emplace_back(sid, code);
            handler = onEvent_;
        }
        if (handler) handler(code);
    }
    /// May be changed at any time; a call under way goes on with the former handler.
    void onEvent(std::function<void(int code)> handler) {
        std::lock_guard<std::mutex> lock(mutex_);
        onEvent_ = std::move(handler);
    }
    void onVideoFrame(void **, int, int, int, int, int, int, VexoParams) override {
        ++pictures;
        if (onPicture) onPicture();
    }
    std::vector<std::pair<int, int>> takeEvents() {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(events_, {});
    }

    std::function<void()> onPicture;  ///< set while no pictures come
    std::atomic<int> pictures{0};

private:
    std::mutex mutex_;
    std::vector<std::pair<int, int>> events_;
    std::function<void(int)> onEvent_;
};

}  // namespace VexoPlayerNS
