#pragma once

#include <memory>
#include <string>

#include "base/oriplayer/period.h"
#include "base/oriplayer/play_list.h"
#include "base/oriplayer/source.h"
#include "interface/vexo_media_source.h"

namespace VexoPlayerNS {

/// A media source as a ready-made play list of one period with one engine source; its options are the period's headers.
/// Threads:  any; nothing changes after the constructor.
class VexoURLMediaSource : public IVexoMediaSource, private oriplayer::ISource {
public:
    explicit VexoURLMediaSource(std::string url);
    explicit VexoURLMediaSource(const VexoParams &params);
    ~VexoURLMediaSource() override;

    std::shared_ptr<oriplayer::IPlayList> getPlayList() override;

private:
    void buildPlayList(const std::shared_ptr<oriplayer::StringMap> &headers);

    std::string mUrl;
    std::shared_ptr<oriplayer::ISource> mEngineSource;
    std::shared_ptr<oriplayer::IPeriod> mPeriod;
    std::shared_ptr<oriplayer::IPlayList> mPlayList;
};

}  // namespace VexoPlayerNS
