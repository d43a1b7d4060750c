// The engine player of the current bound: creation, settings, end.
#include <utility>

#include "base/log.h"
#include "base/oriplayer/play_component.h"
#include "render/video_render_pipeline_wrapper.h"
#include "timeline/timeline.h"

namespace vexo {

namespace {

// Numbers of the engine's setParameter.
constexpr int kParamMute = 2009;
constexpr int kParamVolume = 3004;
constexpr int kParamAudioDevice = 3006;

}  // namespace

/// A condition under which pictures are dropped. It refers to timelines, and the engine may keep the pipeline longer
/// than they exist. Therefore it is evaluated under the same lock under which Timeline::Close removes it. Threads: any.
/// Lock: mutex_, a leaf.
class Timeline::PictureGate {
public:
    void Set(std::function<bool()> hidden) {
        MutexLock lock(mutex_);
        hidden_.swap(hidden);
    }
    bool Hides() {
        MutexLock lock(mutex_);
        return hidden_ && hidden_();
    }

private:
    Mutex mutex_;
    std::function<bool()> hidden_ VEXO_GUARDED_BY(mutex_);
};

class Timeline::GatedPipeline final : public VideoRenderPipelineWrapper {
public:
    explicit GatedPipeline(std::shared_ptr<PictureGate> gate) : gate_(std::move(gate)) {}
    int Render(oriplayer::RenderRecord *record) override {
        return gate_->Hides() ? 0 : VideoRenderPipelineWrapper::Render(record);
    }

private:
    const std::shared_ptr<PictureGate> gate_;
};

// The engine and the owner's listener depend on the order of these calls.
void Timeline::PlayBoundPrepare(PlayBound *bound) {
    if (!bound || closed_) return;
    if (bound->bound_player) {
        VEXO_PRINT(LOG_DEBUG, "bound_player ref count before destruction:%ld", bound->bound_player->use_count());
        DropPlayer(bound, Detach::kNo);
    }
    bound->bound_player = std::make_unique<PlayerPtr>(oriplayer::IOriPlayer::create());
    VEXO_PRINT(LOG_DEBUG, "bound_player ref count after construction:%ld", bound->bound_player->use_count());
    const PlayerPtr player = *bound->bound_player;
    if (!player) {
        bound->bound_player.reset();
        return;
    }
    ++changes_.player;
    player_view_.Set(player);
    try {
        SetUp(*bound, player);
    } catch (...) {  // no memory; without a player the bound can be entered again
        if (CurrentPlayer() == player) DropPlayer(Current(), Detach::kNo);
        throw;
    }
}

void Timeline::SetUp(const PlayBound &bound, const PlayerPtr &player) {
    ApplyPlayerSettings(*player);
    BindListener(*player);
    const auto component = std::make_shared<oriplayer::PlayComponent>();
    component->playList = oriplayer::IPlayList::create();
    component->playList->addPeriod(bound.period, -1);
    identity_ = GenerateIdentity(Current());
    LogHeaders(bound);
    player->setDataSource({component}, 1, bound.headers);
    active_id_ = player->getPlayerId();
    TellPeriodSwitched();
    if (CurrentPlayer() != player) return;  // a command of the listener has replaced or dropped it
    ApplyVolume(*player);
    player->prepareAsync();
}

void Timeline::ApplyPlayerSettings(oriplayer::IOriPlayer &player) {
    const std::string user_agent = user_agent_.Get();
    if (!user_agent.empty()) player.setUserAgent(user_agent.c_str());
    if (auto reporter = reporter_.Get()) player.setReporter(std::move(reporter));
    if (auto configure = configure_.Get()) player.setConfigure(std::move(configure));
    if (video_pipeline_enable_ && video_pipeline_) player.setVideoPipeline(video_pipeline_);
    if (video_surface_ && video_surface_->surface) {
        player.setVideoSurface(video_surface_->surface, video_surface_->flag, 0);
    }
}

void Timeline::BindListener(oriplayer::IOriPlayer &player) {
    event_listener_ = std::make_shared<TimelinePlayerEventListener>(this);
    player.setListener(event_listener_);
}

void Timeline::LogHeaders(const PlayBound &bound) {
    VEXO_PRINT(LOG_DEBUG, "period id:%d", bound.period_index);
    for (int i = 0; i < bound.headers->size(); ++i) {
        VEXO_PRINT(LOG_DEBUG, "headers key:%s, value:%s", bound.headers->keyAt(i), bound.headers->valueAt(i));
    }
}

void Timeline::TellPeriodSwitched() {
    if (const auto listener = internal_listener_.Get()) {
        listener->notify({-1, kEventPeriodSwitched, active_id_.load(), 0, oriplayer::Param(), this, Current()});
    }
}

void Timeline::ApplyVolume(oriplayer::IOriPlayer &player) {
    const float volume = volume_.load();
    oriplayer::Param param;
    if (volume == 0.0f) {
        param.putInt32(1);
        player.setParameter(kParamMute, param, -1);
    } else if (volume != -1.0f) {
        param.putFloat(volume);
        player.setParameter(kParamVolume, param, -1);
    }
}

// Stops the player and releases the timeline's reference. The player is destroyed here unless another thread uses it.
void Timeline::DropPlayer(PlayBound *bound, Detach detach) {
    const PlayerPtr player = *bound->bound_player;
    if (detach == Detach::kYes) player->setListener(nullptr);
    player->stop(true);
    event_listener_->Close();
    bound->bound_player.reset();
    player_view_.Set(CurrentPlayer());
    ++changes_.player;
}

void Timeline::SetVolume(float volume) {
    volume_ = volume;
    MutexLock lock(mutex_);
    if (const PlayerPtr player = CurrentPlayer()) {
        oriplayer::Param param;
        param.putFloat(volume);
        player->setParameter(kParamVolume, param, -1);
    }
}

void Timeline::SetAudioDevice(const std::string &name) {
    MutexLock lock(mutex_);
    if (const PlayerPtr player = CurrentPlayer()) {
        oriplayer::Param param;
        param.putCString(name.c_str(), false);
        player->setParameter(kParamAudioDevice, param, -1);
    }
}

void Timeline::SetVideoSurface(const VideoSurface &surface) {
    MutexLock lock(mutex_);
    video_surface_ = std::make_unique<VideoSurface>(surface);
    if (const PlayerPtr player = CurrentPlayer()) player->setVideoSurface(surface.surface, surface.flag, 0);
}

VideoSurface *Timeline::GetVideoSurface() {
    MutexLock lock(mutex_);
    return video_surface_.get();
}

void Timeline::SetVideoPipelineEnable(bool enable) {
    MutexLock lock(mutex_);
    video_pipeline_enable_ = enable;
    if (enable && !video_pipeline_) video_pipeline_ = std::make_shared<GatedPipeline>(picture_gate_);
}

std::shared_ptr<Timeline::PictureGate> Timeline::MakePictureGate() {
    return std::make_shared<PictureGate>();
}

void Timeline::HidePicturesWhile(std::function<bool()> hidden) {
    picture_gate_->Set(std::move(hidden));
}

void Timeline::SetAudioPipelineEnable(bool enable) {
    MutexLock lock(mutex_);
    audio_pipeline_enable_ = enable;
}

}  // namespace vexo
