#pragma once

#include <memory>
#include <string>

#include "interface/export.h"
#include "interface/vexo_params.h"

namespace oriplayer {
class IPlayList;
}

namespace VexoPlayerNS {

/// What to play, as a play list of one period with one source. It can be given to any number of players, any number of
/// times; all of them share the play list, and none changes it. Thread: any.
class VEXO_API IVexoMediaSource {
public:
    /// A file or network URL.
    static std::shared_ptr<IVexoMediaSource> create(std::string url);
    /// A source described by options. The engine builds the URL from the "qzrtp_" keys of vexo_player.h. Values are
    /// int, float or std::string; a value of any other type, a string literal among them, becomes an empty text. If the
    /// source then cannot be opened, the text of event 501 names the empty options. Pictures of such a source go to
    /// onVideoFrame only, never to a window.
    static std::shared_ptr<IVexoMediaSource> create(VexoParams params);

    virtual ~IVexoMediaSource() = default;
    /// Returns the same list at each call, never null.
    virtual std::shared_ptr<oriplayer::IPlayList> getPlayList() = 0;
};

}  // namespace VexoPlayerNS
