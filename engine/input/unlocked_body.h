#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/aes.h>
#include <libavutil/mem.h>
}

#include "ffmpeg.h"

namespace oriplayer {

/// A body that is encrypted as segments of HLS are (AES-128, CBC, padded), as a demuxer reads it: from front to end.
/// Threads: one at a time. The body outlives it.
class UnlockedBody {
public:
    /// Key and first vector as 32 hexadecimal digits each; null if they are not, or without memory.
    static std::unique_ptr<UnlockedBody> over(AVIOContext *body, const std::string &key, const std::string &vector);
    ~UnlockedBody();
    UnlockedBody(const UnlockedBody &) = delete;
    UnlockedBody &operator=(const UnlockedBody &) = delete;

    AVIOContext *io() const { return io_; }
    AVIOContext *body() const { return body_; }

private:
    explicit UnlockedBody(AVIOContext *body) : body_(body) {}
    static int read(void *self, uint8_t *buffer, int size);
    int fill();

    struct Free {
        void operator()(AVAES *aes) const { av_free(aes); }
    };
    AVIOContext *const body_;
    AVIOContext *io_ = nullptr;
    const std::unique_ptr<AVAES, Free> aes_{av_aes_alloc()};
    uint8_t vector_[16] = {};
    std::vector<uint8_t> locked_;  ///< the last block waits for what comes behind: only the body's last has padding
    std::vector<uint8_t> plain_;
    std::size_t given_ = 0;  ///< of plain_
    bool over_ = false;
};

}  // namespace oriplayer
