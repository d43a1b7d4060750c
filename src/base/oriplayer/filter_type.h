#pragma once

namespace oriplayer {

/// The engine's render filters; numbers without a name here pass through unread.
enum EDRWFilterType : int {
    eDRWFilter_FilmStyle = 5,
    eDRWFilter_ColorSpaceConvert = 6,
    eDRWFilter_Crop = 10,
};

}  // namespace oriplayer
