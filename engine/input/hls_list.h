#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace oriplayer {

/// The text of an HLS play list that offers one programme in several variants, and what a demuxer shall see of it.
class HlsMasterList {
public:
    struct Variant {
        int64_t bitsPerSecond = 0;
        std::string uri;
    };

    /// Without variants if the text is another kind of list.
    explicit HlsMasterList(std::string_view text);

    /// The slowest first. One without pictures, beside others that have some, is left out; of several with the same
    /// rate, the one that the list names first stays.
    const std::vector<Variant> &variants() const { return variants_; }
    /// The one that the list names first.
    int named() const { return named_; }
    /// The list as if this were the only variant, with the renditions that it refers to.
    std::string only(int variant) const;

private:
    struct Entry {
        std::string attributes;
        std::string uri;
        int64_t bitsPerSecond;
        bool pictures;
    };
    void keep(const std::vector<Entry> &entries);

    std::vector<std::string> others_;      ///< lines that belong to no variant
    std::vector<std::string> attributes_;  ///< the line in front of each variant's address
    std::vector<Variant> variants_;
    int named_ = 0;
};

/// The text of an HLS play list of segments.
class HlsSegmentList {
public:
    struct Segment {
        int64_t sequence = 0;
        int64_t startUs = 0;  ///< from the beginning of the list
        std::string uri;
        int64_t offset = 0;  ///< in the file behind `uri`
    };

    /// Without segments if the text is another kind of list.
    explicit HlsSegmentList(std::string_view text);

    const std::vector<Segment> &segments() const { return segments_; }
    bool ended() const { return ended_; }
    /// Its times are one scale from the first segment to the last.
    bool continuous() const { return continuous_; }
    /// Its segments are fragments of MP4.
    bool fragmented() const { return !lines_.empty() && !lines_.back().map.empty(); }
    /// The list as if it began with the segment at this index; what holds for it from further above stays.
    std::string from(std::size_t index) const;

private:
    struct Lines {
        std::string key, map;            ///< in force for the segment
        std::vector<std::string> lines;  ///< its own, the address the last
    };
    void take(std::string_view line, Lines &current, double &seconds, int64_t &length, int64_t &offset);

    std::vector<std::string> head_;
    std::vector<Lines> lines_;  ///< one entry a segment
    std::vector<Segment> segments_;
    int64_t firstSequence_ = 0;
    int64_t nextUs_ = 0;
    bool ended_ = false;
    bool continuous_ = true;
};

bool isHlsList(std::string_view text);

}  // namespace oriplayer
