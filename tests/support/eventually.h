#pragma once

#include <chrono>
#include <thread>

namespace support {

/// True as soon as `condition()` holds; false if it does not within 30 s. For what tells nobody when it changes.
template <typename Condition> bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace support
