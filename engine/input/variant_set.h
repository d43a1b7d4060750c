#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "input/hls_list.h"
#include "input/line_speed.h"

namespace oriplayer {

/// The variants of one HLS set from the network: which of them the demuxer is shown, and which it should be by the
/// measured speed. A demuxer opened with a set sees one variant alone, so that only its segments are ever fetched; to
/// change over, another demuxer is opened that begins with the segment at which the former one stands.
///
/// Threads: one at a time. Outlives the media that ask it.
class VariantSet {
public:
    /// What the demuxer is to see of a play list that was fetched from this address.
    std::string present(const std::string &url, std::string list);
    /// A demuxer asks for a segment or a key of it; `offset` is where it begins in its file.
    void opened(const std::string &url, int64_t offset);
    /// How many segments of the variant's own list have been asked for.
    int pieces() const { return pieces_; }
    LineSpeed &speed() { return speed_; }

    /// None if the source is no set of variants.
    int count() const { return master_ ? static_cast<int>(master_->variants().size()) : 0; }
    int current() const { return current_; }
    int start() const { return start_; }
    /// The variant for the speed that was measured: the best that leaves some room; the present one as long as that is
    /// neither clearly too much nor clearly too little, and where changing over is not possible.
    int wanted() const;
    /// Changing over to it has failed; a second time is the last.
    void blame(int variant) { ++failures_[static_cast<std::size_t>(variant)]; }

    /// The variant to begin with is not there: another one. False if all have been tried.
    bool startElsewhere();
    /// The next demuxer is shown this variant: from the present segment on, or with all it has.
    void showFromHere(int variant);
    void showWhole(int variant);
    /// The same variant, from the segment on in which this time of the list lies; false where that is not known.
    bool showFrom(int64_t us);
    /// FFmpeg finds nothing behind a seek in fragments of MP4: another demuxer has to begin there.
    bool fragmented() const { return list_ && list_->fragmented(); }
    /// A demuxer was opened from the middle: it cannot go back.
    bool cut() const { return cutAt_.has_value(); }

private:
    void takeFirst(const std::string &url, const std::string &list);
    int best(double bitsPerSecond) const;
    bool isMain(const std::string &url) const;
    std::string cutList(const HlsSegmentList &list, bool main) const;

    std::optional<HlsMasterList> master_;
    std::string firstUrl_;       ///< of the set, or of the only list
    std::vector<int> failures_;  ///< of each variant
    int current_ = 0;
    int start_ = 0;
    LineSpeed speed_;
    bool masterShown_ = false;  ///< to the present demuxer
    bool begins_ = true;        ///< what comes first are lists: no measure
    int pieces_ = 0;

    std::optional<HlsSegmentList> list_;            ///< of the variant shown, as it was fetched last
    std::optional<HlsSegmentList::Segment> place_;  ///< the segment asked for last, if it is in the list
    std::optional<HlsSegmentList::Segment> cutAt_;
    std::vector<std::string> cutLists_;  ///< addresses of lists that have been shown cut
};

}  // namespace oriplayer
