#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace oriplayer {

/// The sources of one player as one programme: where each begins on the programme's scale.
/// A source's length is what its container says once it was opened, else what was declared, else unknown (0).
///
/// Threads: any. Lock: mutex_, a leaf.
class Programme {
public:
    struct Item {
        std::string url;
        int64_t declaredUs = 0;
    };
    struct Place {
        int index = 0;
        int64_t startUs = 0;  ///< of the source, on the programme's scale
    };

    void assign(std::vector<Item> items);
    void copy(const Programme &other);
    void append(Item item);
    int count() const;
    std::string url(int index) const;
    int64_t lengthOf(int index) const;
    /// The source that holds a position: the last one that begins at or before it. A source of unknown length hides
    /// what comes behind it.
    Place locate(int64_t positionUs) const;
    int64_t startOf(int index) const;
    /// The source's declared length, where none is known.
    void declare(int index, int64_t us);
    /// What the container says.
    void setLength(int index, int64_t us);
    /// What reading to the end has shown: counts where the container promised less, nothing, or over 100 ms more.
    void setMeasured(int index, int64_t us);
    /// 0 while a length is unknown.
    int64_t totalUs() const;

private:
    struct Entry {
        explicit Entry(Item item);
        std::string url;
        int64_t lengthUs = 0;
        int64_t measuredUs = 0;
        int64_t placedUs() const;
    };
    static constexpr int64_t kToleranceUs = 100'000;

    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
};

}  // namespace oriplayer
