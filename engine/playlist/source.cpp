#include "base/oriplayer/source.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "playlist/known_duration.h"
#include "playlist/local_duration.h"
#include "playlist/local_file.h"

namespace oriplayer {

namespace {

/// Lock: mutex_ guards the list and is never held while a file is asked; askMutex_ makes a second asker wait for the
///       first one's answer instead of opening the file again.
class UrlSource final : public ISource {
public:
    UrlSource(const char *url, double durationSeconds) { UrlSource::addUrl(url, durationSeconds); }

    int addUrl(const char *url, double durationSeconds) override {
        if (!url) return -1;
        std::lock_guard<std::mutex> lock(mutex_);
        const auto seconds = durationSeconds > 0.0 ? std::optional(durationSeconds) : std::nullopt;
        entries_.push_back(std::make_unique<Entry>(Entry{url, seconds}));
        return static_cast<int>(entries_.size());
    }

    const char *getUrl(int index) override {
        std::lock_guard<std::mutex> lock(mutex_);
        const Entry *entry = at(index);
        return entry ? entry->url.c_str() : nullptr;
    }

    int getUrl(int index, std::string &url) override {
        std::lock_guard<std::mutex> lock(mutex_);
        const Entry *entry = at(index);
        if (!entry) return -1;
        url = entry->url;
        return 0;
    }

    int getDuration(int index, double *seconds) override {
        std::string url;
        if (!seconds || getUrl(index, url) != 0) return -1;
        if (tell(index, *seconds)) return 0;
        std::lock_guard<std::mutex> asking(askMutex_);
        if (tell(index, *seconds)) return 0;
        const LocalFile file = localFile(url);
        const bool regular = file.kind == LocalKind::kRegular;
        *seconds = regular ? probeLocalDuration(file.path) : 0.0;
        std::lock_guard<std::mutex> lock(mutex_);
        // A file that is not there yet may be asked again; an answer, 0.0 too, is kept.
        if (regular) at(index)->seconds = *seconds;
        return 0;
    }

    int getSize() override {
        std::lock_guard<std::mutex> lock(mutex_);
        return static_cast<int>(entries_.size());
    }

    /// Empty past the end as well.
    std::optional<double> known(int index) {
        std::lock_guard<std::mutex> lock(mutex_);
        const Entry *entry = at(index);
        return entry ? entry->seconds : std::nullopt;
    }

private:
    struct Entry {
        std::string url;
        std::optional<double> seconds;  // declared or learned
    };

    Entry *at(int index) {
        if (index < 0 || static_cast<std::size_t>(index) >= entries_.size()) return nullptr;
        return entries_[static_cast<std::size_t>(index)].get();
    }

    bool tell(int index, double &seconds) {
        const std::optional<double> length = known(index);
        seconds = length.value_or(seconds);
        return length.has_value();
    }

    std::mutex askMutex_;
    std::mutex mutex_;
    std::vector<std::unique_ptr<Entry>> entries_;  // each by itself: getUrl's texts stay where they are
};

}  // namespace

ISource::ISource() = default;
ISource::~ISource() = default;

std::optional<double> knownDuration(ISource &source) {
    auto *own = dynamic_cast<UrlSource *>(&source);
    return own ? own->known(0) : std::nullopt;
}

std::shared_ptr<ISource> ISource::create(const char *url, double durationSeconds) {
    return std::make_shared<UrlSource>(url, durationSeconds);
}

int ISource::addUrl(const char *, double) {
    return -1;
}
const char *ISource::getUrl(int) {
    return nullptr;
}
int ISource::getUrl(int, std::string &) {
    return -1;
}
int ISource::getDuration(int, double *) {
    return -1;
}
int ISource::getSize() {
    return 0;
}

}  // namespace oriplayer
