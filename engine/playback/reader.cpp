#include "playback/reader.h"

#include <algorithm>
#include <utility>

#include "module/preload_queue.h"
#include "module/reaper.h"
#include "playback/packet_times.h"
#include "playlist/local_file.h"

namespace oriplayer {
namespace {

// How far to read ahead of what is decoded. A file is always available, a network may be slow for half a minute.
constexpr PacketQueue::Aim kLocalAhead{1'500'000, 16 << 20};
constexpr PacketQueue::Aim kNetworkAhead{30'000'000, Reader::kMostBytes};
// Declared lengths are rounded.
constexpr int64_t kToleranceUs = 1'000'000;

}  // namespace

void Reader::run() {
    begin();
    while (!stage_.control.over()) {
        takeAdded();
        if (const auto seek = stage_.control.takeSeek()) {
            carryOut(*seek);
        } else if (serveReplacement()) {
            stage_.readWake.wait();
        } else if (stage_.readAll && stage_.looping && !stage_.failure.get()) {
            goOn();
        } else if (stage_.readAll || brokenOff_ || !hasRoom()) {
            stage_.readWake.wait();
        } else {
            readOne();
        }
    }
    if (const auto replacement = this->replacement()) replacement->cancel();
    // Closing takes time. It is done later, so that it does not slow down the next player, which is about to begin.
    static const std::atomic<bool> over{true};
    if (input_) input_->watch(&over);  // it outlives the stage
    Reaper::instance().bury(std::move(input_), std::move(video_), std::move(audio_));
    stage_.videoPackets.clear();
    stage_.audioPackets.clear();
}

bool Reader::add(const std::shared_ptr<ISource> &source) {
    {
        std::lock_guard lock(mutex_);
        if (!source_.period()) return false;
        source_.period()->addSource(source);
        if (begun_) {
            added_.push_back({source, stage_.programme.count()});
            ++stage_.sourcesWait;
        }
        stage_.programme.append(source_.itemOf(*source));
        if (replacement_) addedSince_.push_back(source);
    }
    stage_.readWake.notify();
    return true;
}

void Reader::begin() {
    const Properties properties = currentProperties();
    options_ = source_.inputOptions(properties, stage_.settings.userAgent());
    options_.cancel = &stage_.control.stoppedFlag();
    options_.route = stage_.route;
    threadLimits_ = properties.threadLimits();
    stage_.untimed = properties.untimed;
    std::vector<std::shared_ptr<ISource>> sources;
    {
        std::lock_guard lock(mutex_);
        sources = source_.sources();
        stage_.programme.assign(source_.itemsOf(sources));
        begun_ = true;
    }
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const int index = static_cast<int>(i);
        // A single local file is opened right after this, and then its length is known. A network source may have none.
        const bool wanted = sources.size() > 1 || stage_.programme.url(index).find("://") != std::string::npos;
        if (wanted) stage_.programme.declare(index, DataSource::askLength(*sources[i]));
    }
    if (sources.empty())
        return stage_.fail(kEventCannotOpen, {AVERROR(EINVAL), "nothing to play: no source was given"});
    stage_.control.setStart(source_.startMs() * 1000);
}

void Reader::takeAdded() {
    if (held_) return;  // the queued end has been taken out of the queues
    std::vector<Added> added;
    {
        std::lock_guard lock(mutex_);
        added.swap(added_);
    }
    if (added.empty()) return;
    for (const auto &[source, index] : added) stage_.programme.declare(index, DataSource::askLength(*source));
    if (stage_.readAll && !stage_.failure.get()) goOn();
    stage_.sourcesWait -= static_cast<int>(added.size());
}

// Continues with a source that was added after the end.
void Reader::goOn() {
    stage_.readAll = false;
    stage_.control.resumeFromEnd();
    finishSource();
}

void Reader::closeInput() {
    countMedium();
    closedBytes_ = stage_.counters.mediumBytes;
    closedNetworkBytes_ = stage_.counters.networkBytes;
    input_.reset();
}

bool Reader::open(int index) {
    closeInput();
    const std::string url = stage_.programme.url(index);
    if (url.empty()) {
        giveUp(kEventCannotOpen, {AVERROR(EINVAL), "opening a source without a URL" + source_.emptyOptions()});
        return false;
    }
    const std::atomic<bool> &stopped = stage_.control.stoppedFlag();
    const auto begin = std::chrono::steady_clock::now();
    auto source = PreloadQueue::instance().take(stage_.id, url, options_, threadLimits_, stopped);
    const bool warm = source != nullptr;
    if (!warm) {
        source = std::make_unique<OpenedSource>();
        if (!openCold(url, begin, *source)) return false;
    }
    adopt(std::move(*source), index);
    if (warm) stage_.counters.networkBytes = networkBytes();  // they arrived earlier: not part of the present speed
    return true;
}

void Reader::adopt(OpenedSource source, int index) {
    input_ = std::move(source.input);
    video_ = std::move(source.video);
    audio_ = std::move(source.audio);
    ahead_ = std::move(source);
    for (const std::string &complaint : ahead_.complaints) stage_.tellLog(complaint);
    index_ = index;
    endUs_ = 0;
    soughtUs_ = 0;
    untouched_ = true;
    brokenOff_ = false;
    serveGeneration();
    stage_.programme.setLength(index, input_->durationUs());
    describeStreams();
    const auto variants = input_->variants();
    stage_.variants.begin(variants.count, variants.start, input_->live());
    changes_ = soundChanges_ = 0;
    input_->adapt();
}

// The time-out counts from `begin`, because time may have passed in waiting for a source opened in advance that failed.
bool Reader::openCold(const std::string &url, std::chrono::steady_clock::time_point begin, OpenedSource &source) {
    auto failure = SourceInput::Failure::kNone;
    InputOptions options = options_;
    const auto waited = std::chrono::steady_clock::now() - begin;
    options.waitedMs = static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(waited).count());
    MediaError error = source.open(url, options, threadLimits_, failure);
    if (!error) return true;
    error.text += source_.emptyOptions();
    const bool unplayable = failure == SourceInput::Failure::kNothingPlayable;
    if (unplayable) {
        for (const std::string &complaint : source.complaints) stage_.tellLog(complaint);
    }
    giveUp(unplayable ? kEventNothingPlayable : kEventCannotOpen, error);
    return false;
}

void Reader::describeStreams() {
    Counters &counters = stage_.counters;
    counters.hasVideo = video_ != nullptr;
    counters.hasAudio = audio_ != nullptr;
    if (video_) {
        counters.videoCodec = video_->codecId();
        const AVRational rate = input_->video()->avg_frame_rate;
        if (rate.num > 0 && rate.den > 0) counters.frameRate = av_q2d(rate);
    }
    if (audio_) counters.sampleRate = input_->audio()->codecpar->sample_rate;
    counters.opened = true;
    counters.network = input_->network();
    for (PacketQueue *queue : {&stage_.videoPackets, &stage_.audioPackets}) {
        queue->aimAt(input_->network() ? kNetworkAhead : kLocalAhead);
    }
}

// Called when the last packet was the first one of another variant of the source. False if that cannot be decoded.
bool Reader::followVariant() {
    const auto variants = input_->variants();
    if (variants.changes == changes_) return true;
    changes_ = variants.changes;
    const bool sound = std::exchange(soundChanges_, variants.soundChanges) != variants.soundChanges && input_->audio();
    auto video = std::make_shared<VideoDecoder>();
    auto audio = sound ? std::make_shared<AudioDecoder>() : audio_;
    MediaError error = video->open(*input_->video(), threadLimits_);
    if (!error && sound) error = audio->open(*input_->audio());
    if (error) {
        stage_.failure.set({kEventDecodeFailed, error});
        return false;
    }
    video_ = std::move(video);
    audio_ = std::move(audio);
    newVideo_ = true;
    newAudio_ = newAudio_ || sound;
    describeStreams();
    return true;
}

void Reader::announceVariant(int64_t playUs) {
    stage_.variants.enter(playUs, input_->variants().current);
    stage_.videoPackets.push(pictureStream());
    if (newAudio_) stage_.audioPackets.push(soundStream());
    newVideo_ = newAudio_ = false;
}

StreamItem Reader::pictureStream() const {
    StreamItem item;
    item.kind = StreamItem::Kind::kStream;
    item.generation = generation_;
    item.baseUs = baseUs_;
    item.mayStall = input_ && input_->network();
    item.video = video_;
    return item;
}

StreamItem Reader::soundStream() const {
    StreamItem item = pictureStream();
    item.video = nullptr;
    item.audio = audio_;
    return item;
}

void Reader::pushStreams() {
    StreamItem item = pictureStream();
    if (untouched_) item.beginsUs = offsetUs_ + baseUs_;
    item.pictures = std::move(ahead_.pictures);
    for (const FramePtr &picture : item.pictures) picture->pts += offsetUs_ + baseUs_;
    newVideo_ = newAudio_ = false;
    stage_.videoPackets.push(std::move(item));
    stage_.audioPackets.push(soundStream());
    stage_.videoWake.notify();
    stage_.audioWake.notify();
    pushAhead();
}

void Reader::pushAhead() {
    countMedium();
    if (!ahead_.packets.empty()) untouched_ = false;
    std::vector<OpenedSource::Packet> packets = std::move(ahead_.packets);
    ahead_.forgetAhead();
    for (auto &[packet, stream] : packets) handOn(std::move(packet), stream);
}

void Reader::pushEnd() {
    ++stage_.ends;
    stage_.readAll = true;
    pushBoth(StreamItem::Kind::kEnd, INT64_MIN);
}

void Reader::pushBoth(StreamItem::Kind kind, int64_t targetUs) {
    for (PacketQueue *queue : {&stage_.videoPackets, &stage_.audioPackets}) {
        StreamItem item;
        item.kind = kind;
        item.generation = generation_;
        item.targetUs = targetUs;
        if (kind == StreamItem::Kind::kEnd) item.end = stage_.ends;
        item.baseUs = baseUs_;
        queue->push(std::move(item));
    }
    stage_.videoWake.notify();
    stage_.audioWake.notify();
}

// A full queue of one stream does not stop the other one, because a badly interleaved file would then stall.
bool Reader::hasRoom() const {
    const bool videoWants = video_ && !stage_.videoPackets.full();
    const bool audioWants = audio_ && !stage_.audioPackets.full();
    if (!videoWants && !audioWants) return false;
    const int64_t bytes = stage_.videoPackets.bytes() + stage_.audioPackets.bytes();
    const bool starving = (video_ && stage_.videoPackets.empty()) || (audio_ && stage_.audioPackets.empty());
    return bytes < (starving ? 2 * kMostBytes : kMostBytes);
}

// Null at the end or after a failure; both have been handled then.
PacketPtr Reader::read(SourceInput::Stream &stream) {
    PacketPtr packet(av_packet_alloc());
    const int result = packet ? input_->read(packet.get(), stream) : AVERROR(ENOMEM);
    countMedium();
    untouched_ = false;
    if (result >= 0) return followVariant() ? std::move(packet) : nullptr;
    if (result == AVERROR_EXIT && !stage_.control.current(generation_)) brokenOff_ = true;
    if (result != AVERROR_EOF && !brokenOff_) {
        stage_.failure.set(
            {kEventReadFailed, {result, "reading " + stage_.programme.url(index_) + ": " + avErrorText(result)}});
    }
    return nullptr;
}

void Reader::readOne() {
    SourceInput::Stream stream{};
    PacketPtr packet = read(stream);
    if (packet) {
        handOn(std::move(packet), stream);
    } else if (stage_.failure.get()) {
        pushEnd();
    } else if (!brokenOff_) {
        finishSource();
    }
}

void Reader::handOn(PacketPtr packet, SourceInput::Stream stream) {
    const bool picture = stream == SourceInput::Stream::kVideo;
    if (picture ? !video_ : !audio_) return;
    count(*packet, stream);
    if (shownAt(*packet) != AV_NOPTS_VALUE) {
        endUs_ = std::max(endUs_, shownAt(*packet) + packet->duration);
        stage_.bufferedEndUs = offsetUs_ + endUs_;
    }
    const int64_t shift = offsetUs_ + baseUs_;
    if (newVideo_) announceVariant(shownAt(*packet) + shift);
    if (packet->pts != AV_NOPTS_VALUE) packet->pts += shift;
    if (packet->dts != AV_NOPTS_VALUE) packet->dts += shift;
    StreamItem item;
    item.generation = generation_;
    item.packet = std::move(packet);
    (picture ? stage_.videoPackets : stage_.audioPackets).push(std::move(item));
    (picture ? stage_.videoWake : stage_.audioWake).notify();
}

void Reader::count(const AVPacket &packet, SourceInput::Stream stream) {
    if (stream != SourceInput::Stream::kVideo) return;
    Counters &counters = stage_.counters;
    counters.videoBytes += packet.size;
    counters.videoUs += packet.duration;
    if ((packet.flags & AV_PKT_FLAG_KEY) == 0) return;
    ++counters.keyPackets;
    counters.keyBytes += packet.size;
}

void Reader::countMedium() {
    if (!input_) return;
    stage_.counters.mediumBytes = closedBytes_ + input_->bytesRead();
    const int64_t all = networkBytes();
    const int64_t arrived = all - stage_.counters.networkBytes.exchange(all);
    if (arrived > 0) stage_.downloadSpeed.add(arrived, std::chrono::steady_clock::now());
}

int64_t Reader::networkBytes() const {
    return closedNetworkBytes_ + (input_->network() ? input_->bytesRead() : 0);
}

// Counts all bytes as discarded that were read, but neither given to the decoders nor kept. `waitingBytes` are kept.
void Reader::discardAllBut(int64_t waitingBytes) {
    countMedium();
    Counters &counters = stage_.counters;
    const int64_t discarded = counters.mediumBytes - counters.decoderBytes - waitingBytes;
    counters.discardedBytes = std::max<int64_t>(counters.discardedBytes, discarded);
}

// True if the source ends long before its declared length and nothing shows that this is its real end.
bool Reader::breaksOff() const {
    if (input_->endIsProof()) return false;
    const int64_t promised = stage_.programme.startOf(index_ + 1) - stage_.programme.startOf(index_);
    return std::max(endUs_, soughtUs_) + std::max(kToleranceUs, promised / 20) < promised;
}

void Reader::finishSource() {
    if (breaksOff()) {
        const std::string text =
            "reading " + stage_.programme.url(index_) + ": it broke off after " + std::to_string(endUs_ / 1000) + " ms";
        stage_.failure.set({kEventReadFailed, {AVERROR(EIO), text}});
        return pushEnd();
    }
    stage_.programme.setMeasured(index_, endUs_);
    const int next = index_ + 1;
    const bool goesOn = next < stage_.programme.count() ? startNext(next) : stage_.looping && startOver();
    if (!goesOn) pushEnd();
}

bool Reader::startNext(int index) {
    if (!open(index)) return false;
    offsetUs_ = stage_.programme.startOf(index);
    pushStreams();
    return true;
}

// Begins the next round of a loop. False if there is nothing that could be played again.
bool Reader::startOver() {
    const int64_t length = stage_.programme.startOf(stage_.programme.count());
    if (length <= 0) return false;
    const bool reopen = index_ != 0 || !input_->seekable();
    if (reopen && localFile(stage_.programme.url(0)).kind == LocalKind::kPipe) return false;  // it can be read once
    if (reopen && !open(0)) return false;
    offsetUs_ = 0;
    if (!goTo(0)) return false;
    endUs_ = 0;
    stage_.readBaseUs = baseUs_ += length;
    stage_.clock.addRound(baseUs_, baseUs_);
    pushStreams();
    return true;
}

// What was read before the failure is still presented; the failure is raised after it.
void Reader::giveUp(PlayerEvent event, MediaError error) {
    if (stage_.control.stopped()) return;
    const bool nothingRead = !stage_.control.prepared() && !stage_.counters.opened;
    if (nothingRead) return stage_.fail(event, error);
    stage_.failure.set({event, std::move(error)});
}

}  // namespace oriplayer
