#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <vector>

namespace oriplayer {

/// Which variant of an HLS set is presented, and for how long each was. Variant 0 is the slowest.
/// Threads: any; the reader says what comes, the presenter what is presented. Lock: mutex_, a leaf.
class VariantTimes {
public:
    static constexpr int kMostVariants = 10;
    struct Report {
        int variants = 0;  ///< 0: no HLS source
        bool live = false;
        int start = 0;
        int playing = 0;
        int switchesDown = 0;
        int switchesUp = 0;
        std::array<int64_t, kMostVariants> playedUs{};  ///< variants beyond the last are counted with it
    };

    /// Another source; 0 variants if it is no HLS. The counts go on over all sources of the player.
    void begin(int variants, int start, bool live);
    /// From this moment of the play scale on it is this variant.
    void enter(int64_t playUs, int variant);
    /// Behind a seek: what is read from here on is of the variant that was entered last.
    void restart();
    /// So much was presented, up to this moment of the play scale.
    void presented(int64_t playUs, int64_t us);

    Report report(int64_t playUs) const;

private:
    struct Entry {
        int64_t fromUs;
        int variant;
    };
    int variantAt(int64_t playUs) const;

    mutable std::mutex mutex_;
    Report report_;
    std::vector<Entry> entries_;
};

}  // namespace oriplayer
