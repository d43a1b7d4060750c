#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vexoplay {

/// What is known about one picture besides its planes.
struct PictureFacts {
    int width = 0;
    int height = 0;
    int64_t positionUs = 0;  ///< on its item's scale
    uint32_t durationUs = 0;
    uint32_t dropped = 0;  ///< by this engine player so far
    uint32_t latenessUs = 0;
    uint32_t colour = 0;
    uint32_t aspect = 0;
    int64_t wallUs = 0;  ///< when it came, on the clock of steadyUs()
};

/// An item's stay in the programme: from the creation of its engine player to the next one's.
struct BoundRecord {
    int playerId = -1;
    int timeline = 0;      ///< 1: a file that interrupts the programme
    int item = -1;         ///< in the programme, or among the interrupting files
    std::string url;       ///< of an interrupting file
    int64_t lengthMs = 0;  ///< of an interrupting file
    int64_t pictures = 0;
    int64_t late = 0;
    uint32_t dropped = 0;
    int width = 0;
    int height = 0;
    bool prepared = false;
    bool failed = false;
    int64_t enteredUs = 0;
    int64_t firstPictureUs = 0;
    int64_t lastPictureUs = 0;
    int64_t lastIntervalUs = 0;  ///< wall time for which the last picture was meant to be shown; 0 if unknown
    std::string md5;
};

/// The items entered, in order, one record each time. Engine players have ids that are never used again, so that what
/// a picture or an event belongs to never rests on the order in which events arrive.
/// Threads:  any.
/// Lock:     a leaf mutex.
class BoundLog {
public:
    /// A picture handed out later than this counts as late: half the time that a picture at 25/s is shown.
    static constexpr uint32_t kLateUs = 20'000;

    /// Notes that the engine player `playerId` plays `item` (-1: not known yet).
    void entered(int playerId, int item, int64_t nowUs);
    /// Notes that it plays the file `index` of an interruption.
    void enteredAside(int playerId, int index, const std::string &url, int64_t nowUs);
    void learnedAside(int playerId, int64_t lengthMs);
    void prepared(int playerId);
    void failed(int playerId);
    void picture(int playerId, const PictureFacts &facts, double speed);
    void hashed(int playerId, std::string md5);

    std::optional<BoundRecord> find(int playerId) const;
    std::vector<BoundRecord> all() const;
    /// The place in all(), -1 for an unknown player.
    int indexOf(int playerId) const;
    int count() const;
    uint64_t droppedInAll() const;

private:
    BoundRecord *record(int playerId);
    BoundRecord &recordOf(int playerId, int64_t nowUs);

    mutable std::mutex mutex_;
    std::vector<BoundRecord> records_;
};

}  // namespace vexoplay
