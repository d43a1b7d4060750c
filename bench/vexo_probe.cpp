// Plays numbered clips through the library as an application does, and prints when which picture came:
//
//   vexo_probe [option ...] first FILE        until its first picture
//   vexo_probe switch FILE...                 the files as one play list
//   vexo_probe play FILE                      in real time
//   vexo_probe untimed FILE                   as fast as it goes, without sound
//   vexo_probe seek FILE FPS FRAME...         plays 25 pictures, then seeks to each of the frames
//
// Last line: {"t_main":ms, "t_ready":ms, "t_end":ms, "cpu_ready_s":s, "cpu_s":s, "rss_kb":n,
// "pictures":[[ms,clip,frame],...], "seeks":[[ms,frame],...]}, or {"error":"..."}. Milliseconds are CLOCK_MONOTONIC.
// With --preload the source is set and its preload task is warm before t_ready: the rest is what a switch waits for.
// --cores=N and --decoder-threads=N set the engine's properties of these names.
#include <sys/resource.h>

#include <bit>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/oriplayer/module.h"
#include "base/oriplayer/picture.h"
#include "mixed/mixed_codecs_player.h"
#include "render/render_manager.h"

namespace {

using namespace oriplayer;
using std::chrono::milliseconds;
using std::chrono::seconds;

double nowMs() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(time).count();
}

double cpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto of = [](const timeval &time) { return double(time.tv_sec) + 1e-6 * double(time.tv_usec); };
    return of(usage.ru_utime) + of(usage.ru_stime);
}

long peakRssKb() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) return std::strtol(line.c_str() + 6, nullptr, 10);
    }
    return 0;
}

struct Shown {
    double ms;
    int clip;
    int frame;
};

/// A row of 20 bright or dark blocks at the top, 1/15 of the picture high: 1, 0, four bits of the clip's number, twelve
/// of the picture's, parity of the even bits, parity of the odd ones. Clip and frame are -1 if that is not there.
Shown readCode(const VideoPicture &picture) {
    constexpr int kBlocks = 20;
    constexpr int kReach = 2;  // samples to each side of a block's middle
    const PlaneEntry &luma = picture.planes[0];
    uint32_t bits = 0;
    for (int block = 0; block < kBlocks; ++block) {
        const int middleX = (2 * block + 1) * picture.width / (2 * kBlocks);
        const int middleY = picture.height / 30;
        int sum = 0;
        for (int y = middleY - kReach; y <= middleY + kReach; ++y) {
            const uint8_t *row = luma.data + static_cast<std::ptrdiff_t>(y) * luma.stride;
            for (int x = middleX - kReach; x <= middleX + kReach; ++x) sum += row[x];
        }
        const int samples = (2 * kReach + 1) * (2 * kReach + 1);
        bits = bits << 1 | (sum > 126 * samples ? 1U : 0U);
    }
    const uint32_t code = bits >> 2 & 0xFFFF;
    const bool even = std::popcount(code & 0x5555U) % 2 == 1;
    const bool odd = std::popcount(code & 0xAAAAU) % 2 == 1;
    const bool valid = bits >> 18 == 2 && even == ((bits >> 1 & 1) != 0) && odd == ((bits & 1) != 0);
    if (!valid) return {nowMs(), -1, -1};
    return {nowMs(), static_cast<int>(code >> 12), static_cast<int>(code & 0xFFF)};
}

/// Pictures and ends, written on the library's threads.
class Watch : public vexo::IRenderMiddleware, public IOriPlayerListener {
public:
    bool Process(vexo::RenderOutputInfo &info) override {
        if (!info.picture || !info.picture->planes) return true;
        const Shown shown = readCode(*info.picture);
        change([&] { pictures_.push_back(shown); });
        return true;
    }
    vexo::RenderCat GetRenderCat() override { return {}; }
    void notify(long long, int msg, int, int, const Param &) override {
        if (msg == 1001) change([&] { ++ends_; });
        if (msg >= 501 && msg <= 504) change([&] { failure_ = msg; });
    }
    void notify(int, int, int, const std::string &, const std::string &) override {}

    /// False if the condition has not come true by then.
    bool wait(milliseconds patience, const std::function<bool(const Watch &)> &condition) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, patience, [&] { return failure_ != 0 || condition(*this); });
        return failure_ == 0 && condition(*this);
    }
    // Inside a condition, or when nothing plays any more:
    const std::vector<Shown> &pictures() const { return pictures_; }
    int ends() const { return ends_; }
    int failure() const { return failure_; }

private:
    void change(const std::function<void()> &write) {
        const std::lock_guard lock(mutex_);
        write();
        changed_.notify_all();
    }
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Shown> pictures_;
    int ends_ = 0;
    int failure_ = 0;
};

struct Order {
    std::string command;
    std::vector<std::string> files;
    double rate = 25.0;
    std::vector<int> targets;
    bool preload = false;
};

std::optional<Order> parse(int count, char **arguments) {
    Order order;
    std::vector<std::string> words;
    for (int i = 1; i < count; ++i) {
        const std::string word = arguments[i];
        const std::string value = word.substr(word.find('=') + 1);
        if (word == "--preload") order.preload = true;
        if (word.starts_with("--cores=")) setProperty(kPropertyCores, value.c_str());
        if (word.starts_with("--decoder-threads=")) setProperty(kPropertyDecoderThreads, value.c_str());
        if (!word.starts_with("--")) words.push_back(word);
    }
    if (words.size() < 2) return std::nullopt;
    order.command = words[0];
    order.files.assign(words.begin() + 1, words.end());
    if (order.command != "seek") return order;
    if (words.size() < 3) return std::nullopt;
    order.rate = std::strtod(words[2].c_str(), nullptr);
    for (std::size_t i = 3; i < words.size(); ++i) order.targets.push_back(std::atoi(words[i].c_str()));
    order.files.resize(1);
    return order.rate > 0 ? std::optional(order) : std::nullopt;
}

bool preloadNow(const std::string &url) {
    std::promise<int> told;
    const auto callback = [](void *context, int result, int, int, const char *) {
        static_cast<std::promise<int> *>(context)->set_value(result);
    };
    auto result = told.get_future();
    addPreloadTask(url.c_str(), "", callback, &told);
    return result.wait_for(seconds(20)) == std::future_status::ready && result.get() == 0;
}

std::shared_ptr<PlayComponent> programmeOf(const Order &order) {
    auto component = std::make_shared<PlayComponent>();
    component->playList = IPlayList::create();
    for (const std::string &file : order.files) {
        auto period = IPeriod::create();
        period->addSource(ISource::create(file.c_str(), 0.0));
        period->setPreloadMask(order.preload ? 0 : 1);
        component->playList->addPeriod(period, -1);
    }
    return component;
}

std::vector<std::pair<double, int>> seekThrough(vexo::MixedCodecsPlayer &player, Watch &watch, const Order &order) {
    std::vector<std::pair<double, int>> seeks;
    watch.wait(seconds(20), [](const Watch &now) { return now.pictures().size() >= 25; });
    for (const int target : order.targets) {
        const double begin = nowMs();
        seeks.emplace_back(begin, target);
        // Rounded up: a millisecond in front of the picture would be the one before it.
        player.seekTo(static_cast<int>(target * 1000.0 / order.rate + 0.999), 0);
        watch.wait(seconds(5), [&](const Watch &now) {
            for (auto each = now.pictures().rbegin(); each != now.pictures().rend() && each->ms >= begin; ++each) {
                if (each->frame >= target && each->frame <= target + 50) return true;
            }
            return false;
        });
        std::this_thread::sleep_for(milliseconds(300));
    }
    return seeks;
}

int fail(const char *what) {
    std::printf("{\"error\":\"%s\"}\n", what);
    return 1;
}

}  // namespace

int main(int count, char **arguments) {
    const double mainMs = nowMs();
    const auto order = parse(count, arguments);
    if (!order) return fail("usage: vexo_probe [option ...] first|switch|play|untimed|seek FILE...");
    if (order->command == "untimed") setProperty(kPropertyUntimed, "1");

    auto watch = std::make_shared<Watch>();
    auto player = vexo::MixedCodecsPlayer::create();
    player->setListener(watch);
    vexo::RenderManager::Instance().AddMiddleware(watch);
    player->setVideoPipelineEnable(true);
    if (order->preload) {
        player->setDataSource({programmeOf(*order)}, 1, nullptr);
        if (!preloadNow(order->files[0])) return fail("preload");
    }

    const double readyMs = nowMs();
    const double readyCpu = cpuSeconds();
    if (!order->preload) player->setDataSource({programmeOf(*order)}, 1, nullptr);
    player->prepareAsync();
    player->start();
    std::vector<std::pair<double, int>> seeks;
    const int bounds = static_cast<int>(order->files.size());
    if (order->command == "first") {
        watch->wait(seconds(20), [](const Watch &now) { return !now.pictures().empty(); });
    } else if (order->command == "seek") {
        seeks = seekThrough(*player, *watch, *order);
    } else {
        watch->wait(seconds(90), [&](const Watch &now) { return now.ends() >= bounds; });
    }
    const double endMs = nowMs();
    const double endCpu = cpuSeconds();
    player->stop(true);
    if (watch->failure() != 0) return fail(("event " + std::to_string(watch->failure())).c_str());

    std::printf("{\"t_main\":%.3f,\"t_ready\":%.3f,\"t_end\":%.3f,\"cpu_ready_s\":%.4f,\"cpu_s\":%.4f,\"rss_kb\":%ld",
                mainMs, readyMs, endMs, readyCpu, endCpu, peakRssKb());
    std::printf(",\"seeks\":[");
    for (std::size_t i = 0; i < seeks.size(); ++i) {
        std::printf("%s[%.3f,%d]", i ? "," : "", seeks[i].first, seeks[i].second);
    }
    std::printf("],\"pictures\":[");
    const auto &pictures = watch->pictures();
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        std::printf("%s[%.3f,%d,%d]", i ? "," : "", pictures[i].ms, pictures[i].clip, pictures[i].frame);
    }
    std::printf("]}\n");
    return 0;
}
