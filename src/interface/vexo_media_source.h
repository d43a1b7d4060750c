#pragma once

#include <memory>
#include <string>

#include "interface/export.h"
#include "interface/vexo_params.h"

namespace oriplayer {
class IPlayList;
}

namespace VexoPlayerNS {

/// What to play, as a play list of one period with one source. May be given to any number of players, again and again;
/// all of them share the play list, and none changes it. Thread: any.
class VEXO_API IVexoMediaSource {
public:
    /// A file or network URL.
    static std::shared_ptr<IVexoMediaSource> create(std::string url);
    /// A source described by options: ints, floats and texts travel to the engine as text, any other type as an empty
    /// text. The engine reads the "qzrtp_" keys of vexo_player.h.
    static std::shared_ptr<IVexoMediaSource> create(VexoParams params);

    virtual ~IVexoMediaSource() = default;
    /// The same list at each call.
    virtual std::shared_ptr<oriplayer::IPlayList> getPlayList() = 0;
};

}  // namespace VexoPlayerNS
