#pragma once

#include <sys/resource.h>
#include <unistd.h>

namespace oriplayer {

/// For work that may wait for whatever plays. The calling thread cannot take it back, and its children inherit it.
inline void lowerThisThread() {
    constexpr int kNice = 10;
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kNice);
}

}  // namespace oriplayer
