#include "playback/player.h"

#include <new>
#include <optional>
#include <system_error>
#include <utility>

#include "module/player_registry.h"
#include "module/preload_queue.h"

namespace oriplayer {
namespace {

constexpr int kRenderCrop = 2011;
constexpr int kRunningReplacement = 2;

int result(bool done) {
    return done ? 0 : -1;
}

}  // namespace

std::shared_ptr<IOriPlayer> IOriPlayer::create() {
    try {
        return std::make_shared<PlayerImpl>();
    } catch (const std::bad_alloc &) {
        return nullptr;
    } catch (const std::system_error &) {
        return nullptr;
    }
}

IOriPlayer::~IOriPlayer() = default;

PlayerImpl::PlayerImpl()
    : session_(PlayerRegistry::instance().createSession()), stage_(session_->stage()), parameters_(*session_) {}

PlayerImpl::~PlayerImpl() {
    session_->stop();
    PlayerRegistry::instance().remove(stage_.id);
}

int PlayerImpl::setDataSource(const std::vector<std::shared_ptr<PlayComponent>> &components, int,
                              const std::shared_ptr<StringMap> &headers) {
    return result(session_->setDataSource(DataSource(components, headers.get())));
}

int PlayerImpl::changePeriod(int component, int index, const std::shared_ptr<IPeriod> &period,
                             const std::shared_ptr<StringMap> &headers) {
    if (component != 0 || index != 0 || !period || period->getChangeMode() != kRunningReplacement) return -1;
    return result(session_->changePeriod(DataSource(period, headers.get())));
}

int PlayerImpl::addSource(int component, const std::shared_ptr<ISource> &source, const std::shared_ptr<StringMap> &) {
    return result(component == 0 && session_->addSource(source));
}

int PlayerImpl::prepareAsync() {
    return result(session_->prepare());
}

int PlayerImpl::start() {
    return result(session_->start());
}

int PlayerImpl::pause() {
    session_->pause();
    return result(!stage_.control.over());
}

int PlayerImpl::seekTo(int positionMs, int mode) {
    const SeekMode seekMode = mode == 1 ? SeekMode::kKeyFrame : SeekMode::kExact;
    return result(session_->seek(static_cast<int64_t>(positionMs) * 1000, seekMode));
}

int PlayerImpl::stop(bool) {
    session_->stop();
    return 0;
}

int PlayerImpl::getCurrentPosition(int64_t *positionMs, int mode) {
    if (!positionMs) return -1;
    const int64_t presented = stage_.positionUs();
    *positionMs = (mode == 1 ? std::max<int64_t>(presented, stage_.bufferedEndUs) : presented) / 1000;
    return 0;
}

int PlayerImpl::getDuration(int64_t *durationMs) {
    if (!durationMs) return -1;
    *durationMs = session_->durationUs() / 1000;
    return 0;
}

int PlayerImpl::getVideoWidth() {
    return stage_.counters.width;
}

int PlayerImpl::getVideoHeight() {
    return stage_.counters.height;
}

int PlayerImpl::setParameter(int number, const Param &value, int) {
    return parameters_.set(number, value);
}

int PlayerImpl::getParameter(int number, Param *value, int) {
    return value ? parameters_.get(number, *value) : -1;
}

bool PlayerImpl::isPlaying() {
    return stage_.control.isPlaying();
}

int PlayerImpl::setVideoPipeline(std::shared_ptr<VideoRenderPipeline> pipeline) {
    stage_.settings.setPipeline(std::move(pipeline));
    return 0;
}

int PlayerImpl::setVideoSurface(void *surface, bool, int) {
    stage_.surface.set(surface);
    return 0;
}

int PlayerImpl::setRenderConfig(int number, const Param &value, int) {
    if (number != kRenderCrop) return -1;
    const std::optional<Crop> crop = Crop::read(value);
    if (!crop) return -1;
    stage_.settings.setCrop(*crop);
    stage_.showWake.notify();
    return 0;
}

int PlayerImpl::setFilter(int, StringMap &, int) {
    return -1;
}

bool PlayerImpl::isLooping() {
    return stage_.looping;
}

int PlayerImpl::setLooping(bool looping) {
    session_->setLooping(looping);
    return 0;
}

int PlayerImpl::getPlayerId() {
    return stage_.id;
}

int PlayerImpl::setUserAgent(const char *userAgent) {
    const std::string text = userAgent ? userAgent : "";
    stage_.settings.setUserAgent(text);
    PreloadQueue::instance().setUserAgent(text);
    return 0;
}

int PlayerImpl::setConfigure(std::shared_ptr<protocols::IConfigure> configure) {
    stage_.settings.setConfigure(std::move(configure));
    return 0;
}

int PlayerImpl::setReporter(std::shared_ptr<protocols::IReporter> reporter) {
    stage_.settings.setReporter(std::move(reporter));
    return 0;
}

int PlayerImpl::setListener(std::shared_ptr<IOriPlayerListener> listener) {
    stage_.settings.setListener(std::move(listener));
    return 0;
}

}  // namespace oriplayer
