#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>

#include "decode/picture_converter.h"
#include "playback/packets_since_key.h"
#include "playback/stage.h"

namespace oriplayer {

/// Makes pictures of packets: decodes them, converts them to I420, drops those before the position sought.
/// Threads: everything on the thread "ori-video".
class VideoPipe {
public:
    explicit VideoPipe(Stage &stage) : stage_(stage) {}
    void run();

private:
    void handle(StreamItem item);
    void beginGeneration(const StreamItem &item);
    void takeAhead(std::vector<FramePtr> pictures);
    void showFirst(const AVPacket &packet);
    bool wasTaken(const AVFrame &frame);
    void caughtUp();
    void handOutHeld();
    bool follows(const AVFrame &frame) const;
    void decode(const AVPacket *packet);
    bool receive();
    void drain();
    void countDecoded(const AVFrame &frame) const;
    void take(FramePtr frame);
    bool belongs(const AVFrame &frame);
    void deliver(FramePtr frame);
    void deliverEnd(uint32_t number);
    void put(Picture picture);
    void keepPace(const AVPacket &packet);
    void countSkipped(int64_t playUs);
    bool firstComesFirst() const;
    bool outdated() const;

    Stage &stage_;
    std::shared_ptr<VideoDecoder> decoder_;
    PictureConverter converter_;
    FramePtr skipped_;  ///< the last picture before the position sought: shown if none follows
    uint32_t generation_ = 0;
    int64_t targetUs_ = INT64_MIN;
    int64_t untilUs_ = INT64_MAX;  ///< from here on another source brings the pictures
    int64_t joinUs_ = INT64_MIN;   ///< it begins with this one
    int64_t baseUs_ = 0;
    std::optional<int64_t> beginsUs_;  ///< the next packet is the source's first, and that its first moment
    std::optional<int64_t> takenUs_;   ///< the decoder is fed again with packets whose pictures were taken up to here
    bool mayStall_ = false;            ///< the packets come from a network
    PacketsSinceKey sinceKey_;         ///< if they do
    int64_t lastOutUs_ = INT64_MIN;    ///< time of the last picture taken from the decoder
    int64_t lastEndUs_ = INT64_MIN;    ///< end of that picture
    int64_t lastDtsUs_ = INT64_MIN;    ///< decoding time of the last packet that went in
    enum class Drain { kNo, kTakes, kLeaves } drain_ = Drain::kNo;  ///< while held pictures are handed out
    bool landed_ = false;                                           ///< a picture of this generation was delivered
    bool hasAhead_ = false;                                         ///< pictures that were decoded ahead
    bool skipping_ = false;                                         ///< the decoder was told to leave pictures out
    bool hasSkipped_ = false;                                       ///< it was, at least once in this generation
    std::set<int64_t> awaited_;  ///< play times of pictures that went into the decoder and did not yet come out
};

}  // namespace oriplayer
