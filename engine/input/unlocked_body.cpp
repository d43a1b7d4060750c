#include "input/unlocked_body.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace oriplayer {

namespace {

constexpr std::size_t kBlock = 16;
constexpr int kBufferBytes = 32 * 1024;

bool parse(const std::string &digits, uint8_t (&bytes)[kBlock]) {
    if (digits.size() != 2 * kBlock) return false;
    for (std::size_t i = 0; i < kBlock; ++i) {
        const char *at = digits.data() + 2 * i;
        const auto [end, error] = std::from_chars(at, at + 2, bytes[i], 16);
        if (error != std::errc{} || end != at + 2) return false;
    }
    return true;
}

}  // namespace

std::unique_ptr<UnlockedBody> UnlockedBody::over(AVIOContext *body, const std::string &key, const std::string &vector) {
    std::unique_ptr<UnlockedBody> unlocked(new UnlockedBody(body));
    uint8_t bytes[kBlock];
    if (!unlocked->aes_ || !parse(key, bytes) || !parse(vector, unlocked->vector_)) return nullptr;
    av_aes_init(unlocked->aes_.get(), bytes, 128, 1);
    auto *buffer = static_cast<unsigned char *>(av_malloc(kBufferBytes));
    if (!buffer) return nullptr;
    unlocked->io_ = avio_alloc_context(buffer, kBufferBytes, 0, unlocked.get(), &UnlockedBody::read, nullptr, nullptr);
    if (unlocked->io_) return unlocked;
    av_free(buffer);
    return nullptr;
}

UnlockedBody::~UnlockedBody() {
    if (io_) av_freep(&io_->buffer);
    avio_context_free(&io_);
}

int UnlockedBody::read(void *self, uint8_t *buffer, int size) {
    auto *unlocked = static_cast<UnlockedBody *>(self);
    while (unlocked->given_ == unlocked->plain_.size()) {
        if (unlocked->over_) return AVERROR_EOF;
        if (const int result = unlocked->fill(); result < 0) return result;
    }
    const std::size_t left = unlocked->plain_.size() - unlocked->given_;
    const std::size_t count = std::min(left, static_cast<std::size_t>(size));
    std::memcpy(buffer, unlocked->plain_.data() + unlocked->given_, count);
    unlocked->given_ += count;
    return static_cast<int>(count);
}

int UnlockedBody::fill() {
    const std::size_t kept = locked_.size();
    locked_.resize(kept + kBufferBytes);
    const int count = avio_read_partial(body_, locked_.data() + kept, kBufferBytes);
    locked_.resize(kept + static_cast<std::size_t>(std::max(count, 0)));
    over_ = count == 0 || count == AVERROR_EOF;
    if (count < 0 && !over_) return count;
    std::size_t blocks = locked_.size() / kBlock;
    if (!over_ && blocks > 0 && locked_.size() % kBlock == 0) --blocks;
    plain_.resize(blocks * kBlock);
    given_ = 0;
    av_aes_crypt(aes_.get(), plain_.data(), locked_.data(), static_cast<int>(blocks), vector_, 1);
    locked_.erase(locked_.begin(), locked_.begin() + static_cast<std::ptrdiff_t>(blocks * kBlock));
    const std::size_t padding = over_ && !plain_.empty() ? plain_.back() : 0;
    if (padding <= kBlock && padding <= plain_.size()) plain_.resize(plain_.size() - padding);
    return 0;
}

}  // namespace oriplayer
