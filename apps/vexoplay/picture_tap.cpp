#include "picture_tap.h"

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
    if (config_.hash) hash_.emplace();
}

bool PictureTap::Process(vexo::RenderOutputInfo &info) {
    if (!info.picture || !info.picture->planes) return true;
    const int playerId = config_.playerId();
    const PictureFacts facts = factsOf(info);
    if (config_.cut(playerId, facts.positionUs)) return true;
    const I420View picture = viewOf(*info.picture);
    {
        std::lock_guard lock(mutex_);
        if (playerId != playerId_) changeBound(playerId);
        log_.picture(playerId, facts, config_.speed());
        if (hash_) hash_->add(picture), ++hashed_;
        if (writer_) writer_->write(picture, facts);
    }
    if (!config_.stage) return true;
    slot_.put(picture, facts);
    config_.wake();
    return true;
}

void PictureTap::closeBound() {
    if (hash_ && hashed_ > 0) log_.hashed(playerId_, hash_->finish());
    hashed_ = 0;
    if (!writer_) return;
    if (const std::string error = writer_->close(); error_.empty()) error_ = error;
    writer_.reset();
}

void PictureTap::changeBound(int playerId) {
    closeBound();
    playerId_ = playerId;
    log_.entered(playerId, -1, steadyUs());
    if (!config_.rawStem.empty()) {
        writer_.emplace(config_.rawStem + "." + std::to_string(log_.indexOf(playerId)));
    }
}

void PictureTap::finish() {
    std::lock_guard lock(mutex_);
    closeBound();
    playerId_ = -1;
}

std::string PictureTap::error() const {
    std::lock_guard lock(mutex_);
    return writer_ && error_.empty() ? writer_->error() : error_;
}

}  // namespace vexoplay
