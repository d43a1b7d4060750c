#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "base/protocols/configure.h"

namespace vexo {

/// A host's configuration that writes down who listens: "+key" and "-key".
class RecordingConfigure : public protocols::IConfigure {
public:
    std::string getConfig(std::string, std::string key, std::string defaultValue) override {
        return get(key, std::move(defaultValue));
    }
    std::string getLocalConfig(std::string, std::string key, std::string defaultValue) override {
        return get(key, std::move(defaultValue));
    }
    void addListener(std::string, std::string key, protocols::ConfigureListener *) override { write('+', key, 1); }
    void removeListener(std::string, std::string key, protocols::ConfigureListener *) override { write('-', key, -1); }

    void set(const std::string &key, std::string value) {
        const std::lock_guard<std::mutex> lock(mutex_);
        values_[key] = std::move(value);
    }

    /// How many keys are listened to; removing what was not added does not count.
    int listeners() {
        const std::lock_guard<std::mutex> lock(mutex_);
        int sum = 0;
        for (const auto &[key, count] : counts_) sum += count;
        return sum;
    }

    std::string takeCalls() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(calls_, {});
    }

private:
    std::string get(const std::string &key, std::string defaultValue) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = values_.find(key);
        return found == values_.end() ? defaultValue : found->second;
    }

    void write(char sign, const std::string &key, int change) {
        const std::lock_guard<std::mutex> lock(mutex_);
        calls_ += (calls_.empty() ? "" : " ") + std::string(1, sign) + key;
        int &count = counts_[key];
        if (count + change >= 0) count += change;
    }

    std::mutex mutex_;
    std::map<std::string, std::string> values_;
    std::map<std::string, int> counts_;
    std::string calls_;
};

}  // namespace vexo
