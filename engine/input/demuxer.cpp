#include "input/demuxer.h"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/time.h>
}

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "decimal_point.h"
#include "input/header_facts.h"
#include "input/variant_set.h"
#include "playlist/local_file.h"

namespace oriplayer {

namespace {

// What find_stream_info may read ahead (microseconds) where a container does not say it all in its header. FFmpeg's own
// limits are 90 s for some containers: far too long before a first picture.
constexpr int64_t kMaxAnalyzeUs = 5'000'000;
// One damaged packet need not be the end; this many in a row are.
constexpr int kMaxDamagedInARow = 16;
// More than any sane programme or list of variants has; each costs memory and a place to look for.
constexpr unsigned kMostStreams = 200;

std::string quoted(const std::string &url) {
    return '"' + url + '"';
}

MediaError failedTo(const std::string &what, const std::string &url, int native) {
    std::string text = "cannot " + what + ' ' + quoted(url) + ": " + avErrorText(native);
    const bool tls = url.rfind("https:", 0) == 0 && native == AVERROR(EIO);
    if (native == AVERROR(ENOMEM)) text += " (or more than " + std::to_string(kMostStreams) + " streams)";
    if (tls) text += " (the connection broke, or the server's certificate is not trusted)";
    return {native, text};
}

/// What FFmpeg opens for a URL. A path that exists is a file, whatever it looks like ("12:30.mp4").
MediaError resolve(const std::string &url, std::string &target) {
    const LocalFile file = localFile(url);
    if (file.kind == LocalKind::kDirectory) return failedTo("open", url, AVERROR(EISDIR));
    if (file.kind == LocalKind::kOther)
        return {AVERROR(EINVAL), "cannot open " + quoted(url) + ": neither file nor pipe"};
    target = url;
    if (file.kind == LocalKind::kRegular) target = "file:" + file.path;
    if (file.kind == LocalKind::kPipe) target = "pipe:" + file.path;
    return {};
}

int64_t microseconds(AVRational seconds) {
    return seconds.num > 0 && seconds.den > 0 ? av_rescale(1'000'000, seconds.num, seconds.den) : 0;
}

/// AVI numbers pictures in the order in which they are decoded. FFmpeg guesses a pts for some of them.
bool inDecodeOrderOnly(const AVInputFormat &format, const AVStream &stream) {
    const AVCodecDescriptor *codec = avcodec_descriptor_get(stream.codecpar->codec_id);
    return std::strcmp(format.name, "avi") == 0 && codec && (codec->props & AV_CODEC_PROP_REORDER) != 0;
}

TimestampRepair::Track trackOf(const AVFormatContext &container, const AVStream *stream, bool timeless) {
    TimestampRepair::Track track;
    if (!stream) return track;
    track.noPts = inDecodeOrderOnly(*container.iformat, *stream);
    track.timeBase = stream->time_base;
    track.countsFromZero = timeless;
    track.ptsFromDts = stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
    if (track.ptsFromDts) {
        track.frameUs = microseconds({stream->codecpar->frame_size, std::max(stream->codecpar->sample_rate, 1)});
    } else {
        const AVRational rate = stream->avg_frame_rate.num > 0 ? stream->avg_frame_rate : stream->r_frame_rate;
        track.frameUs = microseconds(av_inv_q(rate.num > 0 ? rate : AVRational{25, 1}));
    }
    return track;
}

/// Finds the format of the body of an HTTP answer. A script that names further inputs is refused: it would open them
/// without the medium, and perhaps itself among them.
int probe(AVFormatContext &container, const std::string &url, const AVInputFormat *&format) {
    int score = av_probe_input_buffer2(container.pb, &format, url.c_str(), &container, 0, 0);
    if (score == AVERROR_INVALIDDATA) {
        // FFmpeg 7 takes a list for HLS only if its name ends in m3u8 or its type, which it is not given here, is
        // right.
        score = av_probe_input_buffer2(container.pb, &format, "list.m3u8", &container, 0, 0);
        if (score >= 0 && std::strcmp(format->name, "hls") != 0) return AVERROR_INVALIDDATA;
    }
    if (score < 0) return score;
    return std::strcmp(format->name, "concat") == 0 ? AVERROR(EPERM) : 0;
}

// More than 3,000 years is no length but damage; programmes add lengths up.
int64_t honest(int64_t us) {
    return us < 100'000'000'000'000'000 ? us : 0;
}

/// The decoders that look into the first packets keep to the same limit of size as those that play.
int findStreamInfo(AVFormatContext &container) {
    std::vector<AVDictionary *> options(container.nb_streams, nullptr);
    for (AVDictionary *&each : options) av_dict_set_int(&each, "max_pixels", kMostPixels, 0);
    const unsigned known = container.nb_streams;
    const int result = avformat_find_stream_info(&container, known > 0 ? options.data() : nullptr);
    for (AVDictionary *&each : options) av_dict_free(&each);
    return result;
}

// The names that FFmpeg opens for a local list, and those of keys.
std::string localExtensions() {
    const AVInputFormat *hls = av_find_input_format("hls");
    const AVOption *known = hls && hls->priv_class
                                ? av_opt_find2(const_cast<const AVClass **>(&hls->priv_class), "allowed_extensions",
                                               nullptr, 0, AV_OPT_SEARCH_FAKE_OBJ, nullptr)
                                : nullptr;
    return known && known->default_val.str ? std::string(known->default_val.str) + ",key,bin" : std::string();
}

}  // namespace

MediaError Demuxer::open(const std::string &url, const InputOptions &options, SourceInput::Failure &failure) {
    const DecimalPoint point;  // because lists contain lengths in fractions of seconds
    failure = SourceInput::Failure::kCannotOpen;
    if (MediaError error = openContainer(url, options)) return error;
    if (MediaError error = findStreams(url)) return error;
    choice_ = chooseStreams(*container_, options);
    if (choice_.video < 0 && choice_.audio < 0) {
        failure = SourceInput::Failure::kNothingPlayable;
        return {AVERROR_STREAM_NOT_FOUND, quoted(url) + " has no stream that can be played (" +
                                              std::to_string(container_->nb_streams) + " streams, " +
                                              container_->iformat->name + ")"};
    }
    startRepair();
    if (container_->pb) container_->pb->error = 0;  // of a fault that was survived
    failure = SourceInput::Failure::kNone;
    medium_.settle();
    return {};
}

MediaError Demuxer::openContainer(const std::string &url, const InputOptions &options) {
    close();
    std::string target;
    if (MediaError error = resolve(url, target)) return error;
    container_ = avformat_alloc_context();
    if (!container_) return failedTo("open", url, AVERROR(ENOMEM));
    container_->interrupt_callback = interrupter_.callback();
    container_->max_analyze_duration = kMaxAnalyzeUs;
    container_->max_streams = kMostStreams + 1;
    const AVInputFormat *format = options.expectHls ? av_find_input_format("hls") : nullptr;
    int result = medium_.attach(*container_, target, options);
    if (result >= 0 && container_->pb && !format) result = probe(*container_, target, format);
    if (result >= 0) {
        AVDictionary *demuxing = nullptr;
        // Connections of HLS segments are the medium's to keep and to take up again.
        av_dict_set(&demuxing, "http_persistent", "0", 0);
        av_dict_set(&demuxing, "http_multiple", "0", 0);
        // FFmpeg 7 refuses segments and keys by the ends of their names, which a server may choose as it likes.
        av_dict_set(&demuxing, "extension_picky", "0", 0);
        av_dict_set(&demuxing, "allowed_extensions", localExtensions().c_str(), 0);
        if (options.variants && options.variants->cut()) av_dict_set(&demuxing, "live_start_index", "0", 0);
        result = avformat_open_input(&container_, target.c_str(), format, &demuxing);
        av_dict_free(&demuxing);
        // Whether a container with more fails or begins with the first ones depends on FFmpeg's version.
        if (result >= 0 && container_->nb_streams > kMostStreams) {
            avformat_close_input(&container_);
            result = AVERROR(ENOMEM);
        }
    } else {
        avformat_free_context(container_);
        container_ = nullptr;
    }
    if (result >= 0) return {};
    medium_.detach();  // FFmpeg has freed the container
    return failedTo("open", url, interrupter_.meaning(result));
}

MediaError Demuxer::findStreams(const std::string &url) {
    if (headerTells(*container_)) return {};
    const int result = findStreamInfo(*container_);
    // An interrupted probe may end as if it had seen all there is.
    const int meaning = interrupter_.meaning(result < 0 ? result : AVERROR_BUG);
    if (result >= 0 && meaning == AVERROR_BUG) return {};
    return failedTo("read the streams of", url, meaning);
}

void Demuxer::startRepair() {
    const int flags = container_->iformat->flags;
    const int64_t startUs = beginningOf(*container_, {video(), audio()});
    const bool timeless = (flags & AVFMT_NOTIMESTAMPS) || startUs == AV_NOPTS_VALUE;
    const bool endKnown = startUs != AV_NOPTS_VALUE && container_->duration > 0 &&
                          container_->duration < INT64_MAX / 8 && std::abs(startUs) < INT64_MAX / 8;
    const int64_t endUs = endKnown ? startUs + container_->duration : INT64_MAX;
    repair_.start(trackOf(*container_, video(), timeless), trackOf(*container_, audio(), timeless),
                  (flags & AVFMT_TS_DISCONT) != 0, endUs);
}

bool Demuxer::indexed() const {
    // MPEG streams keep what a search by time has come across in the same place: no table of key frames.
    const bool searched = (container_->iformat->flags & AVFMT_TS_DISCONT) != 0;
    return !searched && avformat_index_get_entries_count(video() ? video() : audio()) > 0;
}

void Demuxer::close() {
    if (!container_) return;
    interrupter_.begin(0);  // a farewell to a server that does not answer is not waited for
    avformat_close_input(&container_);
    medium_.detach();
    choice_ = {};
}

int Demuxer::next(PacketPtr &packet, SourceInput::Stream &stream) {
    const DecimalPoint point;
    int damaged = 0;
    // An interrupted demuxer hands out what it still has, a packet a call: each would begin a time-out anew.
    while (late_ == 0) {
        packet.reset(av_packet_alloc());
        if (!packet) return AVERROR(ENOMEM);
        int result = av_read_frame(container_, packet.get());
        if (result == AVERROR_EOF && container_->pb && container_->pb->error < 0) result = container_->pb->error;
        if (result == AVERROR_EOF && medium_.failure() < 0) result = medium_.failure();
        if (result == AVERROR_EOF && medium_.missing() < 0) result = medium_.missing();
        result = interrupter_.meaning(result);
        if (result == AVERROR(EAGAIN) || (result == AVERROR_INVALIDDATA && ++damaged < kMaxDamagedInARow)) {
            if (result == AVERROR(EAGAIN)) av_usleep(1000);
            continue;
        }
        if (result < 0) return result;
        if (interrupter_.interrupted()) late_ = interrupter_.meaning(AVERROR(ETIMEDOUT));
        damaged = 0;
        const bool isVideo = packet->stream_index == choice_.video;
        if (!isVideo && packet->stream_index != choice_.audio) continue;
        stream = isVideo ? SourceInput::Stream::kVideo : SourceInput::Stream::kAudio;
        if (repair_.apply(*packet, isVideo ? 0 : 1)) return 0;
    }
    return late_;
}

int Demuxer::seekByTime(int64_t us) {
    const DecimalPoint point;
    late_ = 0;
    const int index = choice_.video >= 0 ? choice_.video : choice_.audio;
    const AVRational timeBase = container_->streams[index]->time_base;
    const int64_t time = av_rescale_q_rnd(repair_.containerTime(us), {1, 1'000'000}, timeBase, AV_ROUND_DOWN);
    if (container_->pb) container_->pb->error = 0;
    medium_.mend();
    const int result = av_seek_frame(container_, index, time, AVSEEK_FLAG_BACKWARD);
    if (result >= 0) repair_.resume(us);
    return result;
}

MediaError Demuxer::seek(int64_t us) {
    const int result = seekByTime(us);
    return result >= 0 ? MediaError{} : failedTo("seek in", container_->url, interrupter_.meaning(result));
}

MediaError Demuxer::rewind(int64_t us) {
    // The first byte is surer than a search for the first time, but a demuxer with a table keeps its own place.
    const bool byBytes = !indexed() && !(container_->iformat->flags & AVFMT_NO_BYTE_SEEK);
    if (container_->pb) container_->pb->error = 0;
    late_ = 0;
    medium_.mend();
    if (byBytes && av_seek_frame(container_, -1, 0, AVSEEK_FLAG_BYTE) >= 0) {
        repair_.restart();
        return {};
    }
    return seek(us);
}

int64_t Demuxer::durationUs() const {
    if (container_->duration > 0) return honest(container_->duration);
    int64_t longest = 0;
    for (unsigned i = 0; i < container_->nb_streams; ++i) {
        const AVStream &stream = *container_->streams[i];
        if (stream.duration <= 0) continue;
        longest = std::max(longest, av_rescale_q(stream.duration, stream.time_base, {1, 1'000'000}));
    }
    return honest(longest);
}

bool Demuxer::live() const {
    if (container_->duration > 0 || !medium_.network()) return false;
    const bool list = std::strncmp(container_->iformat->name, "hls", 3) == 0;
    const bool sizeKnown = container_->pb && (container_->pb->seekable & AVIO_SEEKABLE_NORMAL) != 0;
    return list || !sizeKnown;
}

}  // namespace oriplayer
