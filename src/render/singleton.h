#pragma once

#include <mutex>

#include "interface/export.h"

namespace vexo {

/// The one T of the process, made at the first Instance() and never destroyed. T derives from Singleton<T> and is
/// constructible from a Token, which only this class and T can name. Thread: any.
template <typename T> class VEXO_API Singleton {
public:
    Singleton(const Singleton &) = delete;
    Singleton &operator=(const Singleton &) = delete;

    static T &Instance();

protected:
    Singleton() = default;
    struct Token {
        explicit Token() = default;  // not from {}, which would name no type
    };
};

template <typename T> T &Singleton<T>::Instance() {
    static std::mutex mutex_;
    static T *instance_ = nullptr;
    std::lock_guard<std::mutex> lock(mutex_);
    if (!instance_) instance_ = new T(Token());
    return *instance_;
}

}  // namespace vexo
