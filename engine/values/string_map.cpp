#include "base/oriplayer/string_map.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace oriplayer {

// Each pair is allocated separately: its texts keep their addresses when others are added. An empty map takes 80 bytes;
// a long play list has one for each period.
struct StringMap::Impl {
    struct Pair {
        std::string key;
        std::string value;
    };
    mutable std::mutex mutex;
    std::vector<std::unique_ptr<const Pair>> pairs;  // guarded by mutex

    const Pair *at(int index) const {
        if (index < 0 || static_cast<std::size_t>(index) >= pairs.size()) return nullptr;
        return pairs[static_cast<std::size_t>(index)].get();
    }
};

StringMap::StringMap() : impl_(new Impl) {}
StringMap::StringMap(const StringMap &other) : impl_(nullptr) {
    auto copy = std::make_unique<Impl>();
    std::lock_guard<std::mutex> lock(other.impl_->mutex);
    for (const auto &pair : other.impl_->pairs) copy->pairs.push_back(std::make_unique<const Impl::Pair>(*pair));
    impl_ = copy.release();
}

StringMap::~StringMap() {
    delete impl_;
}

int StringMap::add(const char *key, const char *value) {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->pairs.push_back(std::make_unique<const Impl::Pair>(Impl::Pair{key ? key : "", value ? value : ""}));
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
        if ((*pair)->key == key) return (*pair)->value.c_str();
    }
    return nullptr;
}

void StringMap::clear() {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->pairs.clear();
}

}  // namespace oriplayer
