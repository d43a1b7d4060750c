#include "input/variant_set.h"

#include <algorithm>
#include <utility>

namespace oriplayer {

namespace {

// A stream's rate swings around what its list says, and a line's around what was measured. Up needs more room than
// down, so that a line between two variants does not change over at each segment.
constexpr double kRoomToRise = 0.7;
constexpr double kRoomToStay = 0.95;
constexpr double kRoomToFall = 0.8;
// Lists of sound cut their segments elsewhere than those of the pictures; a little early is dropped by its time.
constexpr int64_t kToleranceUs = 50'000;
constexpr int kMostFailures = 2;
constexpr char kNoList[] = "a set inside a set";  // an empty list would be asked for again and again

/// An address as a list writes it, which may be relative, against the one that it was resolved to.
bool sameAddress(const std::string &resolved, std::string_view written) {
    while (written.substr(0, 3) == "../") written.remove_prefix(3);
    if (written.substr(0, 2) == "./") written.remove_prefix(2);
    const std::size_t length = written.size();
    return length > 0 && length <= resolved.size() && resolved.compare(resolved.size() - length, length, written) == 0;
}

}  // namespace

std::string VariantSet::present(const std::string &url, std::string list) {
    if (firstUrl_.empty()) takeFirst(url, list);
    if (master_ && url == firstUrl_ && !std::exchange(masterShown_, true)) return master_->only(current_);
    if (!HlsMasterList(list).variants().empty()) return kNoList;  // perhaps inside itself
    const bool main = isMain(url);
    HlsSegmentList segments(list);
    if (segments.segments().empty()) return list;
    const bool first = std::find(cutLists_.begin(), cutLists_.end(), url) == cutLists_.end();
    if (cutAt_ && first) {
        cutLists_.push_back(url);
        list = cutList(segments, main);
    }
    if (main) list_ = std::move(segments);
    return list;
}

void VariantSet::takeFirst(const std::string &url, const std::string &list) {
    firstUrl_ = url;
    HlsMasterList master(list);
    if (master.variants().empty()) return;
    master_ = std::move(master);
    failures_.assign(master_->variants().size(), 0);
    const double known = LineSpeed::lastKnown();
    start_ = current_ = known > 0.0 ? best(known * kRoomToFall) : master_->named();
}

bool VariantSet::isMain(const std::string &url) const {
    return !master_ ? url == firstUrl_ : sameAddress(url, master_->variants()[static_cast<std::size_t>(current_)].uri);
}

std::string VariantSet::cutList(const HlsSegmentList &list, bool main) const {
    // The variants of a set number their segments alike; a list that is still growing goes by the numbers as well.
    const bool byNumber = main || !list.ended();
    std::size_t index = 0;
    for (std::size_t i = 0; i < list.segments().size(); ++i) {
        const auto &segment = list.segments()[i];
        const bool before =
            byNumber ? segment.sequence <= cutAt_->sequence : segment.startUs <= cutAt_->startUs + kToleranceUs;
        if (before) index = i;
    }
    return list.from(index);
}

void VariantSet::opened(const std::string &url, int64_t offset) {
    if (std::exchange(begins_, false)) {
        speed_.dropPiece();
    } else {
        speed_.endPiece();
    }
    if (!list_) return;
    const auto &all = list_->segments();
    const auto found = std::find_if(all.rbegin(), all.rend(), [&](const HlsSegmentList::Segment &segment) {
        return segment.offset == offset && sameAddress(url, segment.uri);
    });
    if (found == all.rend()) return;
    place_ = *found;
    ++pieces_;
}

int VariantSet::best(double bitsPerSecond) const {
    int found = -1;
    for (int i = 0; i < count(); ++i) {
        const auto index = static_cast<std::size_t>(i);
        if (failures_[index] >= kMostFailures) continue;
        const auto rate = static_cast<double>(master_->variants()[index].bitsPerSecond);
        if (found < 0 || rate <= bitsPerSecond) found = i;
    }
    return std::max(found, 0);
}

int VariantSet::wanted() const {
    const double speed = speed_.bitsPerSecond();
    if (count() < 2 || !place_ || !list_->continuous() || speed <= 0.0) return current_;
    const int higher = best(speed * kRoomToRise);
    if (higher > current_) return higher;
    const auto rate = static_cast<double>(master_->variants()[static_cast<std::size_t>(current_)].bitsPerSecond);
    const int lower = best(speed * kRoomToFall);
    return rate > speed * kRoomToStay && lower < current_ ? lower : current_;
}

bool VariantSet::startElsewhere() {
    if (count() == 0) return false;
    failures_[static_cast<std::size_t>(current_)] = kMostFailures;
    start_ = best(static_cast<double>(master_->variants()[static_cast<std::size_t>(current_)].bitsPerSecond));
    showWhole(start_);
    return failures_[static_cast<std::size_t>(start_)] < kMostFailures;
}

void VariantSet::showFromHere(int variant) {
    begins_ = true;
    masterShown_ = false;
    cutAt_ = place_;
    current_ = variant;
    cutLists_.clear();
}

bool VariantSet::showFrom(int64_t us) {
    if (!list_ || !list_->ended() || !list_->continuous() || list_->segments().empty()) return false;
    const auto &all = list_->segments();
    const auto behind = std::find_if(all.begin() + 1, all.end(),
                                     [us](const HlsSegmentList::Segment &segment) { return segment.startUs > us; });
    begins_ = true;
    masterShown_ = false;
    cutAt_ = *(behind - 1);
    cutLists_.clear();
    return true;
}

void VariantSet::showWhole(int variant) {
    begins_ = true;
    masterShown_ = false;
    cutAt_.reset();
    current_ = variant;
    cutLists_.clear();
}

}  // namespace oriplayer
