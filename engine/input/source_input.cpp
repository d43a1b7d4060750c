#include "input/source_input.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <utility>

#include "input/adaptive_demuxer.h"
#include "input/first_moment.h"
#include "input/held_packets.h"

namespace oriplayer {

namespace {

// A seek for the key frame before a position goes back by this first, then twice as far each time.
constexpr int64_t kFirstStepBackUs = 1'000'000;
// Where only decoding times are known, the pictures shown before a key frame may come after it: 8 of them at most.
constexpr int kMostReordered = 8;
// Between two versions of a live play list nothing comes for as long as a segment lasts, usually up to 10 s.
constexpr int kLivePatience = 4;
// Reading for the first moment ends here even if a stream has not shown up.
constexpr std::size_t kMaxHeldBytes = 64u << 20;

}  // namespace

struct SourceInput::Impl {
    enum class Landing { kFound, kBehindTarget, kFailed };
    /// What is asked while somebody may be reading ahead, as it was behind the last call.
    struct Facts {
        bool seekable = false;
        bool live = false;
        int64_t durationUs = 0;
        int64_t bytesRead = 0;
        Variants variants;
    };
    /// What a new owner wants, from its first call on.
    struct Wishes {
        bool adapt = false;
        bool takeRoute = false;
        std::string url;
        std::shared_ptr<HostRoute> route;
    };

    std::mutex use;    ///< of who reads or seeks, owner or reader ahead: guards all that nothing else is said of
    std::mutex mutex;  ///< a leaf
    Facts facts;       ///< guarded by mutex
    Wishes wishes;     ///< guarded by mutex

    AdaptiveDemuxer demuxer;
    InputOptions options;
    Failure failure = Failure::kNone;
    HeldPackets held;   // guarded by mutex as well while somebody may be reading ahead
    int endOfHeld = 0;  // what next() answered behind the held packets, if it was no packet
    int64_t originUs = 0;
    const std::atomic<uint32_t> *newest = nullptr;  ///< the owner's, as its number
    uint32_t number = 0;

    void look();
    Facts known();
    void begin(int timeoutMs);
    void beginReading();
    PacketPtr takeHeld(Stream &stream);
    template <typename Call> auto serving(Call call);
    int readNow(PacketPtr &packet, Stream &stream);
    int next(PacketPtr &packet, Stream &stream);
    int findFirstMoment();
    MediaError seek(int64_t positionUs);
    Landing land(int64_t positionUs, bool atStart, int &result);
};

void SourceInput::Impl::look() {
    const AVFormatContext *open = demuxer.container();
    Facts now;
    now.bytesRead = demuxer.bytesRead();
    if (open) {
        // A play list of segments is sought by asking for another segment.
        const bool list = (open->iformat->flags & AVFMT_NOFILE) || std::strncmp(open->iformat->name, "hls", 3) == 0;
        const bool bySize = open->pb && (open->pb->seekable & AVIO_SEEKABLE_NORMAL);
        now.seekable = (list || bySize) && !(open->ctx_flags & AVFMTCTX_UNSEEKABLE);
        now.live = demuxer.live();
        now.durationUs = demuxer.durationUs();
        now.variants = demuxer.variants();
    }
    std::lock_guard lock(mutex);
    facts = now;
}

SourceInput::Impl::Facts SourceInput::Impl::known() {
    std::lock_guard lock(mutex);
    return facts;
}

void SourceInput::Impl::begin(int timeoutMs) {
    std::unique_lock lock(mutex);
    const Wishes wished = std::exchange(wishes, {});
    lock.unlock();
    if (wished.adapt) demuxer.adapt();
    if (wished.takeRoute) demuxer.takeRoute(wished.url, wished.route);
    demuxer.beginReading(timeoutMs);
}

void SourceInput::Impl::beginReading() {
    begin(options.timeoutMs * (demuxer.live() ? kLivePatience : 1));
}

int SourceInput::Impl::next(PacketPtr &packet, Stream &stream) {
    const int result = demuxer.next(packet, stream);
    if (result < 0) return result;
    if (packet->pts != AV_NOPTS_VALUE) packet->pts -= originUs;
    if (packet->dts != AV_NOPTS_VALUE) packet->dts -= originUs;
    packet->time_base = {1, 1'000'000};
    return 0;
}

PacketPtr SourceInput::Impl::takeHeld(Stream &stream) {
    std::lock_guard lock(mutex);
    return held.empty() ? nullptr : held.pop(stream);
}

// A call of the owner's; what is read ahead is for whoever owns the source then.
template <typename Call> auto SourceInput::Impl::serving(Call call) {
    demuxer.interrupter().serve(newest, number);
    auto result = call();
    demuxer.interrupter().serve(nullptr, 0);
    return result;
}

int SourceInput::Impl::readNow(PacketPtr &packet, Stream &stream) {
    beginReading();
    const auto readOn = [&] { return next(packet, stream); };
    const int result = endOfHeld < 0 ? std::exchange(endOfHeld, 0) : serving(readOn);
    look();
    return result;
}

int SourceInput::Impl::findFirstMoment() {
    FirstMoment moment(demuxer.video() != nullptr, demuxer.audio() != nullptr);
    const int rate = demuxer.audio() ? demuxer.audio()->codecpar->sample_rate : 0;
    bool known = false;
    while (!known && held.bytes() < kMaxHeldBytes) {
        PacketPtr packet;
        Stream stream = Stream::kVideo;
        endOfHeld = next(packet, stream);
        if (endOfHeld < 0) break;
        known = moment.take(*packet, stream, rate);
        held.push(std::move(packet), stream);
    }
    originUs = moment.us();
    held.shift(-originUs);
    return endOfHeld == AVERROR_EXIT || endOfHeld == AVERROR(ETIMEDOUT) || held.empty() ? endOfHeld : 0;
}

/// Every try asks the container for an earlier place until a key frame at or before the position comes up; the last one
/// reads from the first packet and takes what is there.
MediaError SourceInput::Impl::seek(int64_t positionUs) {
    for (int64_t back = 0;; back = std::max(kFirstStepBackUs, 2 * back)) {
        const bool last = back > 0 && positionUs - back <= 0;
        MediaError error;
        if (!last) error = demuxer.seek(positionUs - back + originUs);
        const bool bounded = error.native == AVERROR_EXIT || error.native == AVERROR(ETIMEDOUT);
        if (bounded) return error;
        const bool rewound = last || error;
        if (rewound) error = demuxer.rewind(originUs);
        if (error) return error;
        int result = 0;
        const Landing landing = land(positionUs, rewound, result);
        if (landing == Landing::kFound) return {};
        if (landing == Landing::kFailed) return {result, "cannot read behind a seek: " + avErrorText(result)};
    }
}

SourceInput::Impl::Landing SourceInput::Impl::land(int64_t positionUs, bool atStart, int &result) {
    const Stream main = demuxer.video() ? Stream::kVideo : Stream::kAudio;
    bool found = false;
    bool first = true;
    held.clear();
    endOfHeld = 0;
    for (;;) {
        PacketPtr packet;
        Stream stream = main;
        endOfHeld = next(packet, stream);
        if (endOfHeld < 0) break;
        const int64_t shown = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
        const int64_t decoded = packet->dts != AV_NOPTS_VALUE ? packet->dts : shown;
        const bool key = (packet->flags & AV_PKT_FLAG_KEY) != 0;
        const int64_t latest = packet->pts != AV_NOPTS_VALUE ? shown : shown + kMostReordered * packet->duration;
        held.push(std::move(packet), stream);
        if (stream != main) continue;
        if (key && (latest <= positionUs || (atStart && !found))) {
            found = true;
            held.beginAtLast(shown);
            if (first && demuxer.indexed()) return Landing::kFound;
        }
        first = false;
        const bool enough = decoded > positionUs || held.bytes() >= kMaxHeldBytes;
        if (enough) return found || atStart ? Landing::kFound : Landing::kBehindTarget;
    }
    result = endOfHeld;
    if (result != AVERROR_EOF && held.empty()) return Landing::kFailed;
    if (result == AVERROR_EXIT || result == AVERROR(ETIMEDOUT)) return Landing::kFailed;
    return found || atStart ? Landing::kFound : Landing::kBehindTarget;
}

SourceInput::SourceInput() : impl_(std::make_shared<Impl>()) {}
SourceInput::~SourceInput() {
    interrupt();
    std::lock_guard use(impl_->use);  // until nobody asks any more whether the owner has given up
}

int SourceInput::ReadAhead::step() {
    std::lock_guard use(impl_->use);
    if (!impl_->demuxer.container()) return AVERROR(EINVAL);
    if (impl_->demuxer.interrupter().aborted()) return AVERROR_EXIT;
    if (impl_->endOfHeld < 0) return impl_->endOfHeld;
    impl_->beginReading();
    PacketPtr packet;
    Stream stream{};
    const int result = impl_->endOfHeld = impl_->next(packet, stream);
    impl_->look();
    if (result < 0) return result;
    const int bytes = packet->size;
    std::lock_guard lock(impl_->mutex);
    impl_->held.push(std::move(packet), stream);
    return bytes;
}

MediaError SourceInput::open(const std::string &url, const InputOptions &options) {
    std::lock_guard use(impl_->use);
    impl_->options = options;
    impl_->held.clear();
    impl_->originUs = 0;
    const int timeoutMs = std::max(options.timeoutMs - options.waitedMs, 0);
    if (MediaError error = impl_->demuxer.open(url, options, timeoutMs, impl_->failure)) return error;
    const int result = impl_->findFirstMoment();
    impl_->look();
    if (result >= 0) return {};
    impl_->failure = result == AVERROR_EOF ? Failure::kNothingPlayable : Failure::kCannotOpen;
    return {result, "cannot read the first packets of \"" + url + "\": " + avErrorText(result)};
}

SourceInput::Failure SourceInput::failure() const {
    return impl_->failure;
}
void SourceInput::interrupt() {
    impl_->demuxer.interrupter().abort();
}
void SourceInput::watch(const std::atomic<bool> *cancel) {
    impl_->demuxer.interrupter().watch(cancel);
}

void SourceInput::serve(const std::atomic<uint32_t> *newest, uint32_t number) {
    impl_->newest = newest;
    impl_->number = number;
}

void SourceInput::takeRoute(const std::string &url, const std::shared_ptr<HostRoute> &route) {
    std::lock_guard lock(impl_->mutex);
    impl_->wishes.takeRoute = true;
    impl_->wishes.url = url;
    impl_->wishes.route = route;
    if (route && isHttp(url)) route->setUrl(url);
}

const AVStream *SourceInput::video() const {
    return impl_->demuxer.video();
}
const AVStream *SourceInput::audio() const {
    return impl_->demuxer.audio();
}
const AVFormatContext *SourceInput::container() const {
    return impl_->demuxer.container();
}

int64_t SourceInput::durationUs() const {
    return impl_->known().durationUs;
}
bool SourceInput::seekable() const {
    return impl_->known().seekable;
}
bool SourceInput::live() const {
    return impl_->known().live;
}

int SourceInput::read(AVPacket *packet, Stream &stream) {
    if (impl_->demuxer.interrupter().aborted()) return AVERROR_EXIT;
    PacketPtr own = impl_->takeHeld(stream);
    if (!own) {
        std::lock_guard use(impl_->use);
        if (!container()) return AVERROR(EINVAL);
        own = impl_->takeHeld(stream);  // it was just being read
        const int result = own ? 0 : impl_->readNow(own, stream);
        if (result < 0) return result;
    }
    av_packet_move_ref(packet, own.get());
    return 0;
}

MediaError SourceInput::seek(int64_t positionUs) {
    impl_->demuxer.interrupter().breakOff();  // what is being read ahead is not wanted any more
    std::lock_guard use(impl_->use);
    impl_->demuxer.interrupter().goOn();
    if (!container()) return {AVERROR(EINVAL), "cannot seek: nothing is open"};
    impl_->begin(impl_->options.timeoutMs);
    const int64_t length = impl_->demuxer.durationUs();
    const int64_t last = length > 0 ? length : INT64_MAX / 4;
    const int64_t target = std::clamp<int64_t>(positionUs, 0, last);
    MediaError error = impl_->serving([&] { return impl_->seek(target); });
    impl_->look();
    return error;
}

bool SourceInput::endIsProof() const {
    const AVFormatContext *open = container();
    if (!open || !network()) return true;
    return variants().count > 0 || (open->pb && avio_size(open->pb) > 0);
}

void SourceInput::adapt() {
    std::lock_guard lock(impl_->mutex);
    impl_->wishes.adapt = true;
}
SourceInput::Variants SourceInput::variants() const {
    return impl_->known().variants;
}

int64_t SourceInput::bytesRead() const {
    return impl_->known().bytesRead;
}
bool SourceInput::network() const {
    return impl_->demuxer.network();
}

}  // namespace oriplayer
