#include "base/oriplayer/param.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

namespace oriplayer {

namespace {

std::shared_ptr<const char[]> copyText(const char *text) {
    const std::size_t bytes = std::strlen(text) + 1;
    auto copy = std::make_shared_for_overwrite<char[]>(bytes);
    std::memcpy(copy.get(), text, bytes);
    return copy;
}

/// A floating value outside the range of an integer has no defined conversion: the nearest end of the range is given,
/// 0 for what is no number.
template <typename To, typename From> To convert(From value) {
    if constexpr (std::is_integral_v<To> && std::is_floating_point_v<From>) {
        if (std::isnan(value)) return 0;
        // As a floating value max() may round up to one beyond the range, hence >=.
        if (value >= static_cast<From>(std::numeric_limits<To>::max())) return std::numeric_limits<To>::max();
        if (value <= static_cast<From>(std::numeric_limits<To>::min())) return std::numeric_limits<To>::min();
    }
    return static_cast<To>(value);
}

}  // namespace

Param::Param() = default;
Param::Param(const Param &other) : values_(other.values_) {}
Param::Param(Param &&other) noexcept : values_(std::move(other.values_)) {
    other.clear();
}
Param::~Param() = default;

Param &Param::operator=(const Param &other) {
    values_ = other.values_;
    cursor_ = 0;
    return *this;
}

Param &Param::operator=(Param &&other) noexcept {
    if (this == &other) return *this;
    values_ = std::move(other.values_);
    cursor_ = 0;
    other.clear();
    return *this;
}

bool Param::putInt32(int value) {
    values_.emplace_back(std::in_place_type<int32_t>, value);
    return true;
}

bool Param::putInt64(int64_t value) {
    values_.emplace_back(std::in_place_type<int64_t>, value);
    return true;
}

bool Param::putFloat(float value) {
    values_.emplace_back(std::in_place_type<float>, value);
    return true;
}

bool Param::putDouble(double value) {
    values_.emplace_back(std::in_place_type<double>, value);
    return true;
}

bool Param::putCString(const char *text, bool copy) {
    Text value;
    if (text && copy) {
        value.owned = copyText(text);
    } else {
        value.borrowed = text;
    }
    values_.emplace_back(std::move(value));
    return true;
}

bool Param::putPointer(const void *pointer) {
    values_.emplace_back(std::in_place_type<const void *>, pointer);
    return true;
}

/// Any negative index means the next value in order.
const Param::Value *Param::at(int index) const {
    const std::size_t place = index < 0 ? cursor_ : static_cast<std::size_t>(index);
    if (place >= values_.size()) return nullptr;
    if (index < 0) ++cursor_;
    return &values_[place];
}

template <typename Number> Number Param::number(int index) const {
    const Value *value = at(index);
    if (!value) return Number{};
    return std::visit(
        [](const auto &held) {
            if constexpr (std::is_arithmetic_v<std::decay_t<decltype(held)>>) {
                return convert<Number>(held);
            } else {
                return Number{};
            }
        },
        *value);
}

int Param::getInt32(int index) const {
    return number<int32_t>(index);
}
int64_t Param::getInt64(int index) const {
    return number<int64_t>(index);
}
float Param::getFloat(int index) const {
    return number<float>(index);
}
double Param::getDouble(int index) const {
    return number<double>(index);
}

const char *Param::getCString(int index) const {
    const Value *value = at(index);
    const Text *text = value ? std::get_if<Text>(value) : nullptr;
    return text ? text->get() : nullptr;
}

void *Param::getPointer(int index) const {
    const Value *value = at(index);
    const auto *pointer = value ? std::get_if<const void *>(value) : nullptr;
    return pointer ? const_cast<void *>(*pointer) : nullptr;
}

void Param::clear() {
    values_.clear();
    cursor_ = 0;
}

void Param::dupString() {
    for (Value &value : values_) {
        Text *text = std::get_if<Text>(&value);
        if (!text || !text->get()) continue;
        text->owned = copyText(text->get());
        text->borrowed = nullptr;
    }
}

int Param::setMalloc(bool) const {
    return 0;
}

void Param::freeString() {
    for (Value &value : values_) {
        if (Text *text = std::get_if<Text>(&value)) *text = Text{};
    }
}

}  // namespace oriplayer
