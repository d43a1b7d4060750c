#pragma once

#include <exception>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "interface/export.h"

namespace nonstd {
namespace any_lite {

/// Thrown by the value forms of any_cast when the type held is another one.
class VEXO_API bad_any_cast : public std::exception {
public:
    const char *what() const noexcept override { return "any: the value held is of another type"; }
};

/// One value of any copyable type, or none.
/// Compare type() before a cast, or use a pointer form: it answers null for another type.
/// Copying copies the value; moving passes it on and leaves the source empty. Thread: as the value held.
class any {
public:
    any() noexcept = default;
    any(const any &other) : holder_(other.holder_ ? other.holder_->clone() : nullptr) {}
    any(any &&other) noexcept = default;
    template <typename T, typename Value = std::decay_t<T>,
              typename = std::enable_if_t<!std::is_same_v<Value, any> && std::is_copy_constructible_v<Value>>>
    any(T &&value) : holder_(std::make_unique<Holder<Value>>(std::forward<T>(value))) {}
    ~any() = default;

    any &operator=(const any &other) {
        any(other).swap(*this);
        return *this;
    }
    any &operator=(any &&other) noexcept = default;

    bool has_value() const noexcept { return holder_ != nullptr; }
    void reset() noexcept { holder_.reset(); }
    void swap(any &other) noexcept { holder_.swap(other.holder_); }
    /// The type held; that of void when empty.
    const std::type_info &type() const noexcept { return holder_ ? holder_->type() : typeid(void); }

private:
    struct HolderBase {
        virtual ~HolderBase() = default;
        virtual std::unique_ptr<HolderBase> clone() const = 0;
        virtual const std::type_info &type() const noexcept = 0;
    };
    template <typename T> struct Holder final : HolderBase {
        template <typename U> explicit Holder(U &&u) : value(std::forward<U>(u)) {}
        std::unique_ptr<HolderBase> clone() const override { return std::make_unique<Holder>(value); }
        const std::type_info &type() const noexcept override { return typeid(T); }
        T value;
    };

    template <typename T> friend const T *any_cast(const any *held) noexcept;

    std::unique_ptr<HolderBase> holder_;
};

/// The value held, or null if `held` is null or holds another type.
template <typename T> const T *any_cast(const any *held) noexcept {
    if (!held || held->type() != typeid(T)) return nullptr;
    return &static_cast<const any::Holder<T> *>(held->holder_.get())->value;
}

template <typename T> T *any_cast(any *held) noexcept {
    return const_cast<T *>(any_cast<T>(static_cast<const any *>(held)));
}

/// A copy of the value held (a reference for `any_cast<T &>`); throws bad_any_cast for another type.
template <typename T> T any_cast(const any &held) {
    const auto *value = any_cast<std::remove_cv_t<std::remove_reference_t<T>>>(&held);
    if (!value) throw bad_any_cast();
    return static_cast<T>(*value);
}

template <typename T> T any_cast(any &held) {
    auto *value = any_cast<std::remove_cv_t<std::remove_reference_t<T>>>(&held);
    if (!value) throw bad_any_cast();
    return static_cast<T>(*value);
}

/// Moves the value out.
template <typename T> T any_cast(any &&held) {
    auto *value = any_cast<std::remove_cv_t<std::remove_reference_t<T>>>(&held);
    if (!value) throw bad_any_cast();
    return static_cast<T>(std::move(*value));
}

inline void swap(any &a, any &b) noexcept {
    a.swap(b);
}

}  // namespace any_lite

using any_lite::any;
using any_lite::any_cast;
using any_lite::bad_any_cast;

}  // namespace nonstd
