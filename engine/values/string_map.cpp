#include "base/oriplayer/string_map.h"

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>

namespace oriplayer {

// A deque: the texts of earlier pairs stay where they are when others are added.
struct StringMap::Impl {
    struct Pair {
        std::string key;
        std::string value;
    };
    mutable std::mutex mutex;
    std::deque<Pair> pairs;  // guarded by mutex

    const Pair *at(int index) const {
        if (index < 0 || static_cast<std::size_t>(index) >= pairs.size()) return nullptr;
        return &pairs[static_cast<std::size_t>(index)];
    }
};

StringMap::StringMap() : impl_(new Impl) {}
StringMap::~StringMap() {
    delete impl_;
}

int StringMap::add(const char *key, const char *value) {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->pairs.push_back({key ? key : "", value ? value : ""});
    return 0;
}

int StringMap::size() const {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    return static_cast<int>(impl_->pairs.size());
}

const char *StringMap::keyAt(int index) const {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    const auto *pair = impl_->at(index);
    return pair ? pair->key.c_str() : nullptr;
}

const char *StringMap::valueAt(int index) const {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    const auto *pair = impl_->at(index);
    return pair ? pair->value.c_str() : nullptr;
}

const char *StringMap::valueFor(const char *key) const {
    if (!key) return nullptr;
    std::lock_guard<std::mutex> lock(impl_->mutex);
    for (auto pair = impl_->pairs.rbegin(); pair != impl_->pairs.rend(); ++pair) {
        if (pair->key == key) return pair->value.c_str();
    }
    return nullptr;
}

void StringMap::clear() {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->pairs.clear();
}

}  // namespace oriplayer
