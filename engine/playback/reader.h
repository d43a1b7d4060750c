#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "base/oriplayer/source.h"
#include "input/source_input.h"
#include "playback/data_source.h"
#include "playback/kept_packets.h"
#include "playback/opened_source.h"
#include "playback/replacement.h"
#include "playback/stage.h"

namespace oriplayer {

/// Opens the sources in turn and fills the packet queues, carries out seeks, and starts over when looping. The next
/// source is opened as soon as the one before is read, while that is still being presented.
///
/// Threads: add(), replace() and announcedUs() on any, all else on the thread "ori-read". Lock: mutex_, for what these
///          three store.
class Reader {
public:
    /// Limit of both packet queues together. It is twice as much while one of them is empty, because the packets of
    /// that stream may be far away in the file.
    static constexpr int64_t kMostBytes = 50 << 20;

    Reader(Stage &stage, DataSource source) : stage_(stage), source_(std::move(source)) {}

    void run();
    /// Appends a source to the programme and to its period. False without a period.
    bool add(const std::shared_ptr<ISource> &source);
    /// Sets the pending replacement, null for none, and cancels the former one.
    void replace(std::shared_ptr<Replacement> replacement);
    /// The length of a pending replacement, or 0.
    int64_t announcedUs();

private:
    void begin();
    void takeAdded();
    void goOn();
    bool open(int index);
    void closeInput();
    void adopt(OpenedSource source, int index);
    bool openCold(const std::string &url, std::chrono::steady_clock::time_point begin, OpenedSource &source);
    StreamItem pictureStream() const;
    StreamItem soundStream() const;
    void pushStreams();
    void pushAhead();
    void pushEnd();
    void pushBoth(StreamItem::Kind kind, int64_t targetUs);

    bool hasRoom() const;
    void readOne();
    PacketPtr read(SourceInput::Stream &stream);
    void handOn(PacketPtr packet, SourceInput::Stream stream);
    void count(const AVPacket &packet, SourceInput::Stream stream);
    void countMedium();
    int64_t networkBytes() const;
    void discardAllBut(int64_t waitingBytes);
    void describeStreams();
    bool followVariant();
    void announceVariant(int64_t playUs);
    bool breaksOff() const;
    void finishSource();
    bool startNext(int index);
    bool startOver();
    void giveUp(PlayerEvent event, MediaError error);

    // Seeks, reader_seek.cpp
    void carryOut(const SeekRequest &seek);
    void serveGeneration();
    bool readsOn(const SeekRequest &seek);
    bool standsIn(int64_t targetUs) const;
    bool arrive(int64_t &target);
    int64_t withinProgramme(int64_t positionUs) const;
    bool goTo(int64_t positionUs);
    void landOnKeyFrame(int64_t targetUs);
    void announceGeneration(int64_t targetUs);
    void beginGeneration(int64_t targetUs);
    void handBack(PacketQueue &queue, KeptPackets kept, StreamItem stream, int64_t targetUs) const;

    // Running replacement, reader_replacement.cpp
    /// Packets of the old source that were taken out of the queues for the join. They are put back if it fails.
    struct Held {
        std::shared_ptr<Replacement> by;
        uint32_t generation = 0;
        std::vector<StreamItem> video;
        std::vector<StreamItem> audio;
    };
    bool serveReplacement();
    std::shared_ptr<Replacement> replacement();
    void forget(const std::shared_ptr<Replacement> &replacement);
    std::optional<PacketQueue::Cut> cutForJoin();
    bool meet(const std::shared_ptr<Replacement> &replacement);
    void takeOver(Replacement &replacement);
    void enter(const DataSource &data, const Programme &programme);
    void joinStreams(int64_t joinUs);
    void putBack();

    Stage &stage_;
    DataSource source_;  ///< after run() has begun, changed and read by other threads under mutex_
    InputOptions options_;
    ThreadLimits threadLimits_;

    std::unique_ptr<SourceInput> input_;
    std::shared_ptr<VideoDecoder> video_;
    std::shared_ptr<AudioDecoder> audio_;
    OpenedSource ahead_;                        ///< only what was read ahead of the source that was just opened
    int index_ = -1;                            ///< the source that input_ reads
    int64_t offsetUs_ = 0;                      ///< start of that source on the programme's scale
    int64_t baseUs_ = 0;                        ///< length of the rounds read before, when looping
    int64_t endUs_ = 0;                         ///< end of what was read of that source, on its own scale
    int64_t soughtUs_ = 0;                      ///< where reading of that source has begun, on its own scale
    uint32_t changes_ = 0, soundChanges_ = 0;   ///< number of changes of variant that were handled
    bool newVideo_ = false, newAudio_ = false;  ///< decoders of a new variant that the decoder threads do not have yet
    bool untouched_ = false;                    ///< nothing has been read from input_
    bool brokenOff_ = false;  ///< input_ has no valid place: a newer seek has interrupted its last call
    uint32_t generation_ = 0;
    int64_t closedBytes_ = 0;         ///< read from sources that are closed
    int64_t closedNetworkBytes_ = 0;  ///< the part of closedBytes_ from the network

    std::optional<Held> held_;

    struct Added {
        std::shared_ptr<ISource> source;
        int index;
    };
    std::mutex mutex_;
    bool begun_ = false;                        ///< guarded by mutex_
    std::vector<Added> added_;                  ///< sources that are in the programme already; guarded by mutex_
    std::shared_ptr<Replacement> replacement_;  ///< guarded by mutex_
    std::vector<std::shared_ptr<ISource>> addedSince_;  ///< sources since replace(); guarded by mutex_
};

}  // namespace oriplayer
