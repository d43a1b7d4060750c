#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

namespace vexo {

/// Rounds `value` towards zero. Empty if it is not finite or does not fit.
inline std::optional<int64_t> WholeOf(double value) {
    constexpr double kLimit = 9223372036854775808.0;  // 2 to the power of 63
    if (!std::isfinite(value) || value >= kLimit || value < -kLimit) return {};
    return static_cast<int64_t>(value);
}

/// The length that a source declares, in milliseconds. 0, an unknown length, if `seconds` is not finite or too large.
inline int64_t MillisecondsOf(double seconds) {
    return WholeOf(seconds * 1000.0).value_or(0);
}

/// a + b, or the largest or smallest value if the sum does not fit.
inline int64_t AddTimes(int64_t a, int64_t b) {
    using Limits = std::numeric_limits<int64_t>;
    if (b > 0 && a > Limits::max() - b) return Limits::max();
    if (b < 0 && a < Limits::min() - b) return Limits::min();
    return a + b;
}

/// a - b, or the largest or smallest value if the difference does not fit.
inline int64_t SubtractTimes(int64_t a, int64_t b) {
    using Limits = std::numeric_limits<int64_t>;
    if (b < 0 && a > Limits::max() + b) return Limits::max();
    if (b > 0 && a < Limits::min() + b) return Limits::min();
    return a - b;
}

}  // namespace vexo
