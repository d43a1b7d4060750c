// Filters: most pass through to the engine; two leave their choice for the reports, and the crop is a render
// configuration.
#include <cstdlib>

#include "base/c_locale.h"
#include "base/log.h"
#include "base/oriplayer/player.h"
#include "base/oriplayer/string_map.h"
#include "codec/codec_media_process.h"
#include "codec/filter_resources.h"

namespace vexo {
namespace {

constexpr char kName[] = "CodecMediaProcess::SetFilter";

using Params = std::map<std::string, std::string>;

/// The number under "type", whose text goes to the engine under `key` as well; 0 and no entry without it.
int takeType(const Params &params, const char *key, oriplayer::StringMap &sent) {
    const auto type = params.find("type");
    if (type == params.end()) return 0;
    sent.add(key, type->second.c_str());
    return std::atoi(type->second.c_str());
}

struct CropEdge {
    const char *key;
    float CodecPlayState::*edge;
    const char *missing;
};

constexpr CropEdge kCropEdges[] = {
    {"left", &CodecPlayState::cutLeft, "%s eDRWFilter_Crop cant find left value"},
    {"right", &CodecPlayState::cutRight, "%s eDRWFilter_Crop cant find right value"},
    {"top", &CodecPlayState::cutTop, "%s eDRWFilter_Crop cant find topd value"},
    {"bottom", &CodecPlayState::cutBottom, "%s eDRWFilter_Crop cant find bottom value"},
};

}  // namespace

int CodecMediaProcess::SetFilter(oriplayer::EDRWFilterType type, const std::map<std::string, std::string> &params) {
    const auto player = activePlayer();
    if (type == oriplayer::eDRWFilter_Crop) return crop(player.get(), params);
    oriplayer::StringMap sent;
    if (type == oriplayer::eDRWFilter_FilmStyle) chooseFilmStyle(params, sent);
    if (type == oriplayer::eDRWFilter_ColorSpaceConvert) chooseColorSpace(params, sent);
    for (const auto &[key, value] : params) sent.add(key.c_str(), value.c_str());
    return player ? player->setFilter(type, sent, -1) : -1;
}

void CodecMediaProcess::SetFilterResources(std::string json) {
    MutexLock lock(mStateLock);
    mFilterResources.swap(json);
}

std::string CodecMediaProcess::filterResources() const {
    MutexLock lock(mStateLock);
    return mFilterResources;
}

void CodecMediaProcess::chooseFilmStyle(const Params &params, oriplayer::StringMap &sent) {
    const int style = takeType(params, "film_style_local_type", sent);
    VEXO_PRINT(LOG_DEBUG, "film style :%d", style);
    const std::string path = style == 0 ? std::string() : findFilmStyle(filterResources(), style);
    if (!path.empty()) {
        sent.add("film_style_local_path", path.c_str());
        VEXO_PRINT(LOG_INFO, "film style :%d:json[%s]", style, path.c_str());
    }
    change([&](CodecPlayState &state) {
        state.filmStyleType = style;
        state.filmStylePath = path;
    });
    VEXO_PRINT(LOG_INFO, "film style :%d:[%s]", style, path.c_str());
}

void CodecMediaProcess::chooseColorSpace(const Params &params, oriplayer::StringMap &sent) {
    const int type = takeType(params, "color_space_convert_local_type", sent);
    VEXO_PRINT(LOG_DEBUG, "color space convert : %d", type);
    const std::string path = type == 0 ? std::string() : findColorConversion(filterResources());
    if (!path.empty()) sent.add("color_space_convert_local_path", path.c_str());
    change([&](CodecPlayState &state) {
        state.colorSpaceType = type;
        state.colorSpacePath = path;
    });
}

// Each edge is kept as it is found: a missing one ends the call and leaves those before it changed.
int CodecMediaProcess::crop(oriplayer::IOriPlayer *player, const Params &params) {
    constexpr int kRenderCut = 2011;
    constexpr int kCropMode = 5;
    for (const auto &[key, edge, missing] : kCropEdges) {
        const auto found = params.find(key);
        if (found == params.end()) {
            VEXO_PRINT(LOG_DEBUG, missing, kName);
            return -1;
        }
        const auto value = static_cast<float>(DoubleOf(found->second.c_str()));
        change([value, edge = edge](CodecPlayState &state) { state.*edge = value; });
    }
    const CodecPlayState now = state();
    oriplayer::Param param;
    param.putInt32(kCropMode);
    for (const float value : {0.0F, 0.0F, now.cutLeft, now.cutRight, now.cutTop, now.cutBottom, 0.0F}) {
        param.putFloat(value);
    }
    if (player) player->setRenderConfig(kRenderCut, param, 0);
    return 0;
}

}  // namespace vexo
