#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>

namespace vexoplay {

/// Ends the main thread's wait. Threads: wake() on any, it never waits; the rest on the main thread.
class WakeUp {
public:
    WakeUp() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (descriptor_ < 0) throw std::runtime_error("no descriptor left");
    }
    ~WakeUp() { ::close(descriptor_); }
    WakeUp(const WakeUp &) = delete;
    WakeUp &operator=(const WakeUp &) = delete;

    void wake() const {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(descriptor_, &one, sizeof one);
    }
    void drain() const {
        uint64_t count = 0;
        [[maybe_unused]] const ssize_t taken = ::read(descriptor_, &count, sizeof count);
    }
    int descriptor() const { return descriptor_; }

private:
    const int descriptor_;
};

}  // namespace vexoplay
