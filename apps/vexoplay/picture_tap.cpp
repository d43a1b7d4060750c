#include "picture_tap.h"

#include <iterator>
#include <utility>

#include "base/oriplayer/picture.h"
#include "steady_clock.h"

namespace vexoplay {
namespace {

PictureFacts factsOf(const vexo::RenderOutputInfo &info) {
    const uint32_t *words = info.words;
    PictureFacts facts;
    facts.width = info.picture->width;
    facts.height = info.picture->height;
    facts.positionUs = static_cast<int64_t>(uint64_t{words[oriplayer::kRenderPositionHigh]} << 32 |
                                            words[oriplayer::kRenderPositionLow]);
    facts.durationUs = words[oriplayer::kRenderDuration];
    facts.dropped = words[oriplayer::kRenderDropped];
    facts.latenessUs = words[oriplayer::kRenderLateness];
    facts.colour = words[oriplayer::kRenderColor];
    facts.aspect = words[oriplayer::kRenderAspect];
    facts.wallUs = steadyUs();
    return facts;
}

I420View viewOf(const oriplayer::VideoPicture &picture) {
    const oriplayer::PlaneEntry *planes = picture.planes;
    return makeI420View(picture.width, picture.height, {planes[0].data, planes[1].data, planes[2].data},
                        {planes[0].stride, planes[1].stride, planes[2].stride});
}

}  // namespace

PictureTap::PictureTap(Config config, BoundLog &log, PictureSlot &slot)
    : config_(std::move(config)), log_(log), slot_(slot) {
    if (config_.hash) PictureHash();  // throws now, and not on a thread of the engine
}

bool PictureTap::Process(vexo::RenderOutputInfo &info) {
    if (!info.picture || !info.picture->planes) return true;
    config_.pass();
    const int playerId = config_.playerId();
    const PictureFacts facts = factsOf(info);
    if (config_.cut(playerId, facts.positionUs)) return true;
    const I420View picture = viewOf(*info.picture);
    {
        std::lock_guard lock(mutex_);
        if (playerId != playerId_) changeBound(playerId);
        log_.picture(playerId, facts, config_.speed());
        Output &output = outputs_[playerId];
        if (output.hash) output.hash->add(picture), ++output.hashed;
        if (output.writer) output.writer->write(picture, facts);
    }
    if (config_.stage) {
        slot_.put(picture, facts);
        config_.wake();
    }
    config_.shown(playerId, facts.positionUs);
    return true;
}

void PictureTap::close(int playerId, Output &output) {
    if (output.hash && output.hashed > 0) log_.hashed(playerId, output.hash->finish());
    if (!output.writer) return;
    if (const std::string error = output.writer->close(); error_.empty()) error_ = error;
}

// A bound of the programme goes on behind the files that interrupt it.
bool PictureTap::lastsBeside(int playerId, int entered) const {
    const std::optional<BoundRecord> former = log_.find(playerId);
    const std::optional<BoundRecord> next = log_.find(entered);
    return former && next && former->timeline == 0 && next->timeline == 1;
}

void PictureTap::changeBound(int playerId) {
    log_.entered(playerId, -1, steadyUs());
    for (auto output = outputs_.begin(); output != outputs_.end();) {
        const bool lasts = output->first == playerId || lastsBeside(output->first, playerId);
        if (!lasts) close(output->first, output->second);
        output = lasts ? std::next(output) : outputs_.erase(output);
    }
    playerId_ = playerId;
    const auto [place, fresh] = outputs_.try_emplace(playerId);
    if (!fresh) return;
    if (config_.hash) place->second.hash.emplace();
    if (!config_.rawStem.empty()) {
        place->second.writer.emplace(config_.rawStem + "." + std::to_string(log_.indexOf(playerId)));
    }
}

void PictureTap::finish() {
    std::lock_guard lock(mutex_);
    for (auto &[playerId, output] : outputs_) close(playerId, output);
    outputs_.clear();
    playerId_ = -1;
}

std::string PictureTap::error() const {
    std::lock_guard lock(mutex_);
    if (!error_.empty()) return error_;
    for (const auto &[playerId, output] : outputs_) {
        if (output.writer && !output.writer->error().empty()) return output.writer->error();
    }
    return {};
}

}  // namespace vexoplay
