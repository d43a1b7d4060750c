#pragma once

#include <utility>

#include "base/thread_annotations.h"

namespace vexo {

/// A value that any thread may set and copy.
/// Lock:  a mutex of its own, held for the copy or the exchange only; what is replaced ends outside of it.
template <typename T> class LeafGuarded {
public:
    LeafGuarded() = default;
    explicit LeafGuarded(T value) : value_(std::move(value)) {}

    T Get() const {
        MutexLock lock(mutex_);
        return value_;
    }

    void Set(T value) {
        MutexLock lock(mutex_);
        std::swap(value_, value);
    }

private:
    mutable Mutex mutex_;
    T value_ VEXO_GUARDED_BY(mutex_) = T();
};

}  // namespace vexo
