#pragma once

#include <array>
#include <optional>

namespace oriplayer {

/// How pictures lie on a surface.
struct SurfaceView {
    int orientation = 0;  ///< degrees clockwise, a multiple of 90
    /// What turns the picture besides: two columns, x to the right and y upwards. Its size is not used.
    std::array<float, 4> matrix{1.0F, 0.0F, 0.0F, 1.0F};
    int width = 0;  ///< of the part of the window, from its upper left corner, that is drawn to; 0: all of it
    int height = 0;
    bool operator==(const SurfaceView &) const = default;

    /// Quarter turns (0 to 3) or degrees; false if it is neither.
    bool setOrientation(int value);
    /// Column by column, 2 x 2, 3 x 3 or 4 x 4, or none at all; false if it turns nothing.
    bool setMatrix(int count, const float *values);
    bool setSize(int newWidth, int newHeight);
};

/// Where a picture is drawn: a rectangle, turned about its middle behind the flip.
struct SurfacePlace {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    double clockwise = 0.0;  ///< degrees
    bool upsideDown = false;
};

/// The largest place for a picture of that size with square pixels, in the middle of what the view leaves of a window.
SurfacePlace placeOnSurface(const SurfaceView &view, double pictureWidth, double pictureHeight, int windowWidth,
                            int windowHeight);

}  // namespace oriplayer
