#include "playlist/local_duration.h"

#include <sys/stat.h>

#include <memory>
#include <mutex>
#include <optional>
#include <tuple>
#include <unordered_map>

#include "input/bounded_call.h"
#include "input/demuxer.h"

namespace oriplayer {

namespace {

constexpr int kTimeoutMs = 2000;  // a play list is being built while this is waited for

/// The lengths of files asked before, so that a long list of few files opens each once. A file that was written since,
/// or another one of that name, is not known.
/// Thread: any. Lock: mutex_ is a leaf.
class Remembered {
public:
    static Remembered &instance() {
        static auto &remembered = *new Remembered;  // never destroyed: threads that hang in the system outlive main()
        return remembered;
    }

    std::optional<double> find(const std::string &path, const struct stat &file) {
        std::lock_guard lock(mutex_);
        const auto known = lengths_.find(path);
        if (known == lengths_.end() || known->second.state != stateOf(file)) return std::nullopt;
        return known->second.seconds;
    }

    void keep(const std::string &path, const struct stat &file, double seconds) {
        std::lock_guard lock(mutex_);
        if (lengths_.size() >= kMost) lengths_.clear();
        lengths_[path] = {stateOf(file), seconds};
    }

private:
    using State = std::tuple<dev_t, ino_t, off_t, time_t, long>;
    struct Length {
        State state;
        double seconds;
    };
    static constexpr std::size_t kMost = 1000;  // about 200 KiB

    static State stateOf(const struct stat &file) {
        return {file.st_dev, file.st_ino, file.st_size, file.st_mtim.tv_sec, file.st_mtim.tv_nsec};
    }

    std::mutex mutex_;
    std::unordered_map<std::string, Length> lengths_;
};

double openAndAsk(const std::string &path) {
    auto seconds = std::make_shared<double>(0.0);
    const auto ask = [seconds, path](const std::atomic<bool> &giveUp) {
        InputOptions options;
        options.timeoutMs = kTimeoutMs;
        options.cancel = &giveUp;
        Demuxer demuxer;
        demuxer.interrupter().watch(options.cancel);
        demuxer.interrupter().begin(options.timeoutMs);
        auto failure = SourceInput::Failure::kNone;
        if (!demuxer.open(path, options, failure)) *seconds = static_cast<double>(demuxer.durationUs()) / 1e6;
    };
    return boundedCall(ask, kTimeoutMs, nullptr) ? *seconds : 0.0;
}

}  // namespace

double probeLocalDuration(const std::string &path) {
    struct stat file {};
    if (stat(path.c_str(), &file) != 0) return 0.0;
    if (const auto known = Remembered::instance().find(path, file)) return *known;
    const double seconds = openAndAsk(path);
    if (seconds > 0.0) Remembered::instance().keep(path, file, seconds);
    return seconds;
}

}  // namespace oriplayer
