#pragma once

#include <chrono>
#include <cstdint>

namespace vexo {

/// Milliseconds since the epoch, from the system's wall clock. Thread: any.
inline uint64_t GetCurrentTimeMs() {
    using namespace std::chrono;
    return static_cast<uint64_t>(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
}

}  // namespace vexo
