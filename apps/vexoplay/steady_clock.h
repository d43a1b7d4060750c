#pragma once

#include <chrono>
#include <cstdint>

namespace vexoplay {

/// Microseconds on the monotonic clock.
inline int64_t steadyUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace vexoplay
