#pragma once

#include <cstdint>
#include <memory>

#include "playback/stage.h"

namespace oriplayer {

/// Makes sound of packets and queues it in the renderer: cuts what lies before the position sought, fills what is
/// missing with silence, so that the sound can be the clock. Without a device the sound is decoded at its pace and
/// goes nowhere; in an untimed programme it is not even decoded.
/// Threads: everything on the thread "ori-audio".
class AudioPipe {
public:
    explicit AudioPipe(Stage &stage) : stage_(stage) {}
    void run();

private:
    void handle(StreamItem item);
    void beginGeneration(const StreamItem &item);
    void decode(const AVPacket *packet);
    bool receive();
    void drain();
    void end(uint32_t number);
    void take(AVFrame &frame);
    void play(AVFrame &frame);
    bool fillUpTo(int64_t playUs, const AVFrame &like);
    bool pushInPieces(AVFrame &frame);
    bool push(const AVFrame &frame, int64_t playUs);
    void pace(int64_t playUs);
    bool hasDevice();
    bool outdated() const;
    void tellReady();

    Stage &stage_;
    std::shared_ptr<AudioDecoder> decoder_;
    uint32_t generation_ = 0;
    int64_t targetUs_ = INT64_MIN;
    int64_t nextUs_ = INT64_MIN;  ///< play scale, behind what was queued last in this generation
};

}  // namespace oriplayer
