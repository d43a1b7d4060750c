#pragma once

#include <cstdint>
#include <memory>

#include "base/oriplayer/period.h"
#include "base/oriplayer/player.h"
#include "base/oriplayer/string_map.h"

namespace vexo {

/// Identifies a bound in events. Each member is cut to 8 bits; read them as unsigned.
struct BoundIdentity {
    int8_t timeline_id;
    int8_t period_id;
    int8_t source_id;
};

/// The smallest unit that gets an engine player of its own: a whole period, or one source of a mixed-codecs period.
/// Owned and changed by its timeline, under the timeline's mutex.
struct PlayBound {
    std::unique_ptr<std::shared_ptr<oriplayer::IOriPlayer>> bound_player;  ///< null unless this is the current bound
    std::shared_ptr<oriplayer::StringMap> headers;  ///< a private copy, never the caller's map, never null
    int64_t duration;        ///< ms: the sources' sum at first, the engine's answer once it is prepared
    int64_t start_position;  ///< ms: the position given when the bound was entered last
    std::shared_ptr<oriplayer::IPeriod> period;  ///< what the engine plays; the caller's own unless mixed-codecs
    int32_t period_index;                        ///< place of the period on the timeline
    BoundIdentity identity;                      ///< zero until the bound is first entered

    bool mixed_codecs;  ///< one source of a mixed-codecs period

    /// The engine player, or empty.
    std::shared_ptr<oriplayer::IOriPlayer> Player() const { return bound_player ? *bound_player : nullptr; }
};

/// The window for the pictures, as the application set it. The handle is only passed on.
struct VideoSurface {
    void *surface = nullptr;
    bool flag = false;
};

}  // namespace vexo
