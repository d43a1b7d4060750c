#include "module/reaper.h"

#include <pthread.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

#include "ffmpeg_log.h"
#include "module/low_priority.h"

namespace oriplayer {
namespace {

// What eight players leave: from there on they come faster than the machine takes them apart.
constexpr std::size_t kMostWaiting = 32;
constexpr std::chrono::seconds kEndPatience{1};

}  // namespace

struct Reaper::State {
    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by mutex.
    std::deque<std::function<void()>> tasks;
    std::thread thread;
    bool running = false;
    bool ending = false;
};

Reaper::Reaper() : state_(std::make_shared<State>()) {}

Reaper::~Reaper() {
    end();
}

// Itself never destroyed: a player's thread may still hand something over while the process ends.
Reaper &Reaper::instance() {
    static auto &reaper = *new Reaper;
    struct AtExit {
        ~AtExit() { reaper.end(); }
    };
    static const AtExit atExit;
    return reaper;
}

bool Reaper::offer(std::function<void()> task) {
    const std::lock_guard lock(state_->mutex);
    if (state_->ending || state_->tasks.size() >= kMostWaiting) return false;
    if (!state_->running) {
        try {
            state_->thread = std::thread([state = state_] { run(state); });
            state_->running = true;
        } catch (const std::system_error &) {
            return false;
        }
    }
    state_->tasks.push_back(std::move(task));
    state_->changed.notify_all();
    return true;
}

void Reaper::run(const std::shared_ptr<State> &state) {
    pthread_setname_np(pthread_self(), "ori-reaper");
    lowerThisThread();
    const FfmpegLog quiet(nullptr);
    std::unique_lock lock(state->mutex);
    for (;;) {
        state->changed.wait(lock, [&] { return state->ending || !state->tasks.empty(); });
        if (state->tasks.empty()) break;
        auto task = std::move(state->tasks.front());
        state->tasks.pop_front();
        lock.unlock();
        task();
        task = nullptr;
        lock.lock();
    }
    state->running = false;
    state->changed.notify_all();
}

void Reaper::end() {
    std::unique_lock lock(state_->mutex);
    state_->ending = true;
    state_->changed.notify_all();
    state_->changed.wait_for(lock, kEndPatience, [this] { return !state_->running; });
    std::thread thread = std::move(state_->thread);
    const bool over = !state_->running;
    lock.unlock();
    if (!thread.joinable()) return;
    over ? thread.join() : thread.detach();
}

}  // namespace oriplayer
