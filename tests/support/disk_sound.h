#pragma once

#include <cstdlib>
#include <vector>

#include "support/temporary_folder.h"

namespace support {

/// What really reaches the sound device: SDL's disk driver writes it into a file. The device is opened once a process,
/// so there is one of these, made before the first player.
class DiskSound {
public:
    /// `msABlock`: how long the device takes for a block; empty: as long as it is heard.
    explicit DiskSound(const char *msABlock = "") {
        setenv("SDL_AUDIODRIVER", "disk", 1);
        setenv("SDL_DISKAUDIOFILE", (folder_ / "sound").c_str(), 1);
        if (*msABlock) setenv("SDL_DISKAUDIODELAY", msABlock, 1);
    }

    /// The left channel of all that was written so far, without its first `from` samples.
    std::vector<float> left(std::size_t from = 0) const {
        const std::string bytes = folder_.read("sound");
        const auto *samples = reinterpret_cast<const float *>(bytes.data());
        std::vector<float> left;
        for (std::size_t i = from; (i + 1) * 2 * sizeof(float) <= bytes.size(); ++i) left.push_back(samples[i * 2]);
        return left;
    }
    /// How many there are by now.
    std::size_t samples() const {
        std::error_code notYet;
        const auto bytes = std::filesystem::file_size(folder_ / "sound", notYet);
        return notYet ? 0 : static_cast<std::size_t>(bytes) / sizeof(float) / 2;
    }

private:
    TemporaryFolder folder_;
};

}  // namespace support
