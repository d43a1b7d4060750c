#pragma once

#include <array>
#include <string>

namespace vexo {

/// What CodecMediaProcess was last told, whether or not an engine player heard it. Not sent again to later players.
struct CodecPlayState {
    bool audioMute = false;
    int renderMode = 1;
    int renderArg = 0;
    int visionMode = 0;  ///< 2 makes SetVisionIndex act
    int visionIndex = 0;
    int colorBlindType = 0;
    int colorBlindLevel = 0;
    int audioInfoType = 0;
    int nightMode = 0;
    int filmStyleType = 0;  ///< 0: none
    std::string filmStylePath;
    int colorSpaceType = 0;  ///< 0: none
    std::string colorSpacePath;
    int audioInfoValue = 0;
    int rendCutMode = -1;  ///< -1: none chosen
    float rendCutX = 0.0F;
    float rendCutY = 0.0F;
    // The part of the picture that is shown, each edge from 0.0 to 1.0.
    float cutLeft = 0.0F;
    float cutRight = 1.0F;
    float cutTop = 0.0F;
    float cutBottom = 1.0F;
    std::array<float, 16> rotationMatrix{};
    void *audioCallback = nullptr;
};

}  // namespace vexo
