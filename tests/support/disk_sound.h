#pragma once

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "support/eventually.h"
#include "support/temporary_folder.h"

namespace support {

/// Records what the sound device gets: SDL's disk driver writes it into a file. The engine keeps the device open from
/// test to test, so a process has one DiskSound, which is made before the first player and lives until the process
/// ends.
class DiskSound {
public:
    /// `msABlock`: milliseconds that the device takes for a block of 21 ms; empty: 21.
    explicit DiskSound(const char *msABlock = "") {
        setenv("SDL_AUDIODRIVER", "disk", 1);
        setenv("SDL_DISKAUDIOFILE", (folder_ / "sound").c_str(), 1);
        if (*msABlock) setenv("SDL_DISKAUDIODELAY", msABlock, 1);
    }

    /// The left channel from sample `from` on.
    std::vector<float> left(std::size_t from) const {
        std::ifstream file(folder_ / "sound", std::ios::binary);
        file.seekg(static_cast<std::streamoff>(from * sizeof(Sample)));
        std::vector<float> left;
        for (Sample sample; file.read(reinterpret_cast<char *>(&sample), sizeof sample);) left.push_back(sample.left);
        return left;
    }
    /// Samples of each channel that were written so far.
    std::size_t samples() const {
        std::error_code notYet;
        const auto bytes = std::filesystem::file_size(folder_ / "sound", notYet);
        return notYet ? 0 : static_cast<std::size_t>(bytes) / sizeof(Sample);
    }
    /// The number of samples written as soon as the sound of all earlier players has ended: sound that waits in the
    /// device's mix outlasts its player.
    std::size_t awaitSilence() const {
        static constexpr std::size_t kSilent = 4096;
        eventually([this] {
            const std::size_t all = samples();
            const auto last = left(all - std::min(all, kSilent));
            return std::all_of(last.begin(), last.end(), [](float sample) { return sample == 0.0F; });
        });
        return samples();
    }

private:
    struct Sample {
        float left, right;
    };
    TemporaryFolder folder_;
};

}  // namespace support
