#pragma once

// Listeners that write down what a timeline tells them, and let a test wait for it.
//
//   auto listener = std::make_shared<RecordingListener>();
//   listener->on(1001, [&] { timeline.Stop(); });   // runs inside the callback, behind its entry
//   engine.post("p1", 1000);
//   ASSERT_TRUE(listener->waitFor(1000));           // bounded by 30 s; false means that it never came
//   EXPECT_EQ(listener->takeEvents(), "1000@000100");
//
// An entry is "number@identity", the identity in six hexadecimal digits (timeline, period, source), or "number@-1" and
// the like for negative ids; "number@identity(arg1)" where the first argument is not 0, and a text among the data
// follows the identity, "number@identity:text".

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/oriplayer/listener.h"
#include "timeline/internal_event.h"

namespace fake {

/// Hears what an application hears, or what the player itself hears of its timeline.
class RecordingListener : public oriplayer::IOriPlayerListener, public vexo::InternalEventListener {
public:
    void notify(long long id, int what, int arg1, int, const oriplayer::Param &param) override {
        const char *text = param.getCString(0);
        record(id, what, arg1, text ? std::string(":") + text : "");
    }
    void notify(int, int, int, const std::string &, const std::string &) override {}
    void notify(vexo::InternalEvent event) override { record(event.id, event.what, event.arg1); }

    void on(int what, std::function<void()> handler) {
        const std::lock_guard<std::mutex> lock(mutex_);
        handlers_[what] = std::move(handler);
    }

    /// True once `count` events of that number have been told and their handlers have returned.
    bool waitFor(int what, int count = 1) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return counts_[what] >= count; });
    }

    int count(int what) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return counts_[what];
    }

    std::string takeEvents() {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::string joined;
        for (const std::string &entry : entries_) joined += (joined.empty() ? "" : " ") + entry;
        entries_.clear();
        return joined;
    }

private:
    void record(int64_t id, int what, int arg1, const std::string &detail = "") {
        char text[64];
        std::snprintf(text, sizeof text, id < 0 ? "%d@%lld" : "%d@%06llx", what, static_cast<long long>(id));
        std::string entry = text + detail;
        if (arg1 != 0) entry += "(" + std::to_string(arg1) + ")";
        std::function<void()> handler;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            entries_.push_back(std::move(entry));
            const auto found = handlers_.find(what);
            if (found != handlers_.end()) handler = found->second;
        }
        if (handler) handler();
        const std::lock_guard<std::mutex> lock(mutex_);
        ++counts_[what];
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> entries_;
    std::map<int, int> counts_;
    std::map<int, std::function<void()>> handlers_;
};

}  // namespace fake
