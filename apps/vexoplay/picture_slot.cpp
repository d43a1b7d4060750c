#include "picture_slot.h"

#include <cstring>
#include <utility>

namespace vexoplay {

void StagedPicture::assign(const I420View &picture, const PictureFacts &from) {
    facts = from;
    std::size_t total = 0;
    for (const PlaneView &plane : picture.planes) {
        total += static_cast<std::size_t>(plane.width) * static_cast<std::size_t>(plane.rows);
    }
    bytes.resize(total);
    uint8_t *to = bytes.data();
    picture.forEachRow([&to](const uint8_t *row, std::size_t count) {
        std::memcpy(to, row, count);
        to += count;
    });
}

I420View StagedPicture::view() const {
    const int chromaWidth = (facts.width + 1) / 2;
    const std::size_t luma = static_cast<std::size_t>(facts.width) * static_cast<std::size_t>(facts.height);
    const std::size_t chroma = static_cast<std::size_t>(chromaWidth) * static_cast<std::size_t>((facts.height + 1) / 2);
    return makeI420View(facts.width, facts.height, {bytes.data(), bytes.data() + luma, bytes.data() + luma + chroma},
                        {facts.width, chromaWidth, chromaWidth});
}

void PictureSlot::put(const I420View &picture, const PictureFacts &facts) {
    filling_.assign(picture, facts);
    std::lock_guard lock(mutex_);
    std::swap(filling_, ready_);
    fresh_ = true;
}

bool PictureSlot::fetch(StagedPicture &into) {
    std::lock_guard lock(mutex_);
    if (!fresh_) return false;
    std::swap(into, ready_);
    fresh_ = false;
    return true;
}

}  // namespace vexoplay
