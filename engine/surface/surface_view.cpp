#include "surface/surface_view.h"

#include <algorithm>
#include <cmath>

namespace oriplayer {

bool SurfaceView::setOrientation(int value) {
    if (value >= 0 && value < 4) value *= 90;
    if (value % 90 != 0) return false;
    orientation = (value % 360 + 360) % 360;
    return true;
}

bool SurfaceView::setMatrix(int count, const float *values) {
    if (count == 0) {
        matrix = SurfaceView().matrix;
        return true;
    }
    const int rows = count == 4 ? 2 : count == 9 ? 3 : count == 16 ? 4 : 0;
    if (rows == 0 || !values) return false;
    const std::array<float, 4> read{values[0], values[1], values[rows], values[rows + 1]};
    const float determinant = read[0] * read[3] - read[1] * read[2];
    if (!std::isfinite(determinant) || determinant == 0.0F) return false;
    matrix = read;
    return true;
}

bool SurfaceView::setSize(int newWidth, int newHeight) {
    if (newWidth < 0 || newHeight < 0) return false;
    width = newWidth;
    height = newHeight;
    return true;
}

SurfacePlace placeOnSurface(const SurfaceView &view, double pictureWidth, double pictureHeight, int windowWidth,
                            int windowHeight) {
    constexpr double kHalfTurn = 180.0;
    constexpr double kPi = 3.14159265358979323846;
    const double left = std::atan2(view.matrix[1], view.matrix[0]) * kHalfTurn / kPi;
    SurfacePlace place;
    place.clockwise = view.orientation - left;
    place.upsideDown = view.matrix[0] * view.matrix[3] - view.matrix[1] * view.matrix[2] < 0.0F;
    const double cosine = std::abs(std::cos(place.clockwise * kPi / kHalfTurn));
    const double sine = std::abs(std::sin(place.clockwise * kPi / kHalfTurn));
    const double boxWidth = pictureWidth * cosine + pictureHeight * sine;
    const double boxHeight = pictureWidth * sine + pictureHeight * cosine;
    const int areaWidth = view.width > 0 ? view.width : windowWidth;
    const int areaHeight = view.height > 0 ? view.height : windowHeight;
    const double scale = std::min(areaWidth / boxWidth, areaHeight / boxHeight);
    place.width = std::max(1, static_cast<int>(std::lround(pictureWidth * scale)));
    place.height = std::max(1, static_cast<int>(std::lround(pictureHeight * scale)));
    place.x = (areaWidth - place.width) / 2;
    place.y = (areaHeight - place.height) / 2;
    return place;
}

}  // namespace oriplayer
