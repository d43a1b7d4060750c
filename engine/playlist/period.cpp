#include "base/oriplayer/period.h"

#include <mutex>
#include <utility>
#include <vector>

namespace oriplayer {

namespace {

std::shared_ptr<StringMap> copyOf(const std::shared_ptr<StringMap> &headers) {
    if (!headers) return nullptr;
    return std::make_shared<StringMap>(*headers);
}

/// Lock: mutex_ guards all members. Under it only the functions of the maps are called.
class Period final : public IPeriod {
public:
    int addSource(const std::shared_ptr<ISource> &source) override {
        if (!source) return -1;
        std::lock_guard<std::mutex> lock(mutex_);
        sources_.push_back(source);
        return 0;
    }

    std::shared_ptr<ISource> getSource(int index) override {
        std::lock_guard<std::mutex> lock(mutex_);
        if (index < 0 || static_cast<std::size_t>(index) >= sources_.size()) return nullptr;
        return sources_[static_cast<std::size_t>(index)];
    }

    int getSourceCount() override {
        std::lock_guard<std::mutex> lock(mutex_);
        return static_cast<int>(sources_.size());
    }

    void setHeaders(const std::shared_ptr<StringMap> &headers) override { keep(headers_, copyOf(headers)); }
    std::shared_ptr<StringMap> getHeaders() override { return copyOf(kept(headers_)); }

    void setChangeMode(int mode) override { keep(changeMode_, mode); }
    int getChangeMode() override { return kept(changeMode_); }
    void setSourceKind(int kind) override { keep(sourceKind_, kind); }
    int getSourceKind() override { return kept(sourceKind_); }
    void setPeriodFlag(int flag) override { keep(flag_, flag); }
    int getPeriodFlag() override { return kept(flag_); }
    void setPeriodTag(std::string tag) override { keep(tag_, std::move(tag)); }
    std::string getPeriodTag() override { return kept(tag_); }
    void setStartTime(int64_t startMs) override { keep(startMs_, startMs); }
    int64_t getStartTime() override { return kept(startMs_); }
    void setPeriodValue(int64_t value) override { keep(value_, value); }
    int64_t getPeriodValue() override { return kept(value_); }
    void setPreloadMask(int64_t mask) override { keep(preloadMask_, mask); }
    int64_t getPreloadMask() override { return kept(preloadMask_); }
    void setMixedCodecs(bool mixed) override { keep(mixedCodecs_, mixed); }
    bool isMixedCodecs() override { return kept(mixedCodecs_); }

private:
    template <typename T> void keep(T &field, T value) {
        std::lock_guard<std::mutex> lock(mutex_);
        field = std::move(value);
    }
    template <typename T> T kept(const T &field) {
        std::lock_guard<std::mutex> lock(mutex_);
        return field;
    }

    std::mutex mutex_;
    std::vector<std::shared_ptr<ISource>> sources_;
    std::shared_ptr<StringMap> headers_;
    int changeMode_ = 0;
    int sourceKind_ = 0;
    int flag_ = 0;
    std::string tag_;
    int64_t startMs_ = 0;
    int64_t value_ = 0;
    int64_t preloadMask_ = 0;
    bool mixedCodecs_ = false;
};

}  // namespace

IPeriod::~IPeriod() = default;

std::shared_ptr<IPeriod> IPeriod::create() {
    return std::make_shared<Period>();
}

}  // namespace oriplayer
