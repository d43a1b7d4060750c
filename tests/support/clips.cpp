#include "support/clips.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace support {

std::string clip(const std::string &name) {
    const std::string path = std::string(CLIP_DIRECTORY) + "/" + name;
    if (!std::filesystem::exists(path)) throw std::runtime_error("no test clip " + path);
    return path;
}

Expected expected(const std::string &name) {
    std::ifstream file(clip(name) + ".expect");
    Expected result;
    if (!(file >> result.pictures >> result.md5 >> result.durationMs)) {
        throw std::runtime_error("nothing is known of test clip " + name);
    }
    return result;
}

int pictureNumber(const uint8_t *luma, int stride) {
    constexpr int kBlock = 16;  // pixels; its middle is far from what the codecs smear over the edges
    int number = 0;
    for (int bit = 0; bit < 8; ++bit) {
        const uint8_t middle = luma[kBlock / 2 * stride + bit * kBlock + kBlock / 2];
        if (middle > 128) number |= 1 << bit;
    }
    return number;
}

}  // namespace support
