#pragma once

#include <cstdint>
#include <memory>

#include "base/oriplayer/play_list.h"
#include "base/oriplayer/string_map.h"

namespace oriplayer {

/// A play list on its way to a player, or the mirror of a timeline's periods.
struct PlayComponent {
    int32_t id = -1;
    std::shared_ptr<IPlayList> playList;
    std::shared_ptr<StringMap> headers;
};

}  // namespace oriplayer
