#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>

#include "base/protocols/configure.h"

namespace fake {

/// A host's configuration that writes down who listens: "+key" and "-key".
class RecordingConfigure : public protocols::IConfigure {
public:
    std::string getConfig(std::string, std::string key, std::string defaultValue) override {
        return get(key, std::move(defaultValue));
    }
    std::string getLocalConfig(std::string, std::string key, std::string defaultValue) override {
        return get(key, std::move(defaultValue));
    }
    void addListener(std::string, std::string key, protocols::ConfigureListener *) override {
        listened_.insert(key);
        write('+', key);
    }
    void removeListener(std::string, std::string key, protocols::ConfigureListener *) override {
        if (const auto found = listened_.find(key); found != listened_.end()) listened_.erase(found);
        write('-', key);
    }

    void set(const std::string &key, std::string value) { values_[key] = std::move(value); }
    /// How many keys are listened to; removing what was not added does not count.
    int listeners() const { return static_cast<int>(listened_.size()); }
    std::string takeCalls() { return std::exchange(calls_, {}); }

private:
    std::string get(const std::string &key, std::string defaultValue) {
        const auto found = values_.find(key);
        return found == values_.end() ? defaultValue : found->second;
    }
    void write(char sign, const std::string &key) {
        calls_.append(calls_.empty() ? "" : " ").append(1, sign).append(key);
    }

    std::map<std::string, std::string> values_;
    std::multiset<std::string> listened_;
    std::string calls_;
};

}  // namespace fake
