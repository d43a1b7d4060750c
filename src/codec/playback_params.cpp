// The client's numeric property types and their texts.
#include <algorithm>
#include <cstdlib>
#include <limits>

#include "base/log.h"
#include "base/oriplayer/module.h"
#include "base/oriplayer/player.h"
#include "base/oriplayer/subtitle_font_info.h"
#include "codec/codec_media_process.h"
#include "codec/media_keys.h"

namespace vexo {
namespace {

using oriplayer::IOriPlayer;
using oriplayer::Param;

/// How a property's text goes to the engine.
struct PropertyRow {
    enum class Decode {
        kNumber,
        kGivenNumber,  ///< an empty text sends nothing
        kText,         ///< likewise
        kNothing,      ///< known, without effect
    };

    int type;
    Decode decode;
    int key = 0;
    int lowest = std::numeric_limits<int>::min();  ///< what is below or above is dropped
    int highest = std::numeric_limits<int>::max();
    LogSeverity gate = LOG_INFO;
    const char *line = nullptr;  ///< format of an entry line of its own, with the text as its argument
};

using enum PropertyRow::Decode;
constexpr int kLow = PropertyRow{}.lowest;
constexpr int kHigh = PropertyRow{}.highest;

// clang-format off
constexpr PropertyRow kRows[] = {
    // type  text          engine's number
    {14,     kNumber,      3300},
    {80,     kNumber,      3200, 0, 1},
    {81,     kNumber,      3201, 1, 2},
    {82,     kNumber,      3202, 0, 12},
    {151,    kNumber,      3600},
    {510,    kText,        4100},
    {KVPLAYER_PROPERTY_TYPE_PLAYER_BATCH_PRELOAD_LIST, kText, 3612, kLow, kHigh, LOG_INFO, "Batch Preload KVPLAYER_PROPERTY_TYPE_PLAYER_BATCH_PRELOAD_LIST: %s"},
    {KVPLAYER_PROPERTY_TYPE_PLAYER_BATCH_CANCEL_LIST, kText, 3613, kLow, kHigh, LOG_INFO, "Batch Preload KVPLAYER_PROPERTY_TYPE_PLAYER_BATCH_CANCEL_LIST: %s"},
    {552,    kGivenNumber, 4105},
    {920,    kNothing},
    {921,    kNothing},
    {KVPLAYER_PROPERTY_TYPE_UPSCOST, kGivenNumber, 4102, kLow, kHigh, LOG_DEBUG, "TarvoPlayer::setPlaybackParam meet KVPLAYER_PROPERTY_TYPE_UPSCOST %s"},
    {982,    kNothing},
    {1001,   kNumber,      1991},
};
// clang-format on

// What the table cannot say.
constexpr int kSubtitleWithAd = 12;
constexpr int kSubtitleFont = 18;
constexpr int kTwoSubtitles = 19;
constexpr int kNetcacheFastMode = 123;
constexpr int kDeferredText = 686;
constexpr int kSubtitle = 1000;

void sendRow(const PropertyRow &row, const std::string &value, IOriPlayer &player) {
    if (row.line) VEXO_PRINT(row.gate, row.line, value.c_str());
    if (row.decode == kNothing || (row.decode != kNumber && value.empty())) return;
    Param param;
    if (row.decode == kText) {
        param.putCString(value.c_str(), false);
    } else {
        const int number = std::atoi(value.c_str());
        if (number < row.lowest || number > row.highest) return;
        param.putInt32(number);
    }
    player.setParameter(row.key, param, -1);
}

std::string entryOf(const char *key, const std::string &source) {
    return CodecMediaProcess::parseSourceParamS(key, source.c_str());
}

enum class Ad { kNone, kMayFollow };

void sendSubtitle(IOriPlayer &player, const std::string &value, Ad adEntry) {
    constexpr int kParamSubtitle = 3303;
    const std::string path = entryOf("subtitlePath", value);
    const std::string ad = adEntry == Ad::kMayFollow ? entryOf("vdoad", value) : std::string();
    Param param;
    param.putInt32(path.empty() ? 0 : 1);
    if (!path.empty()) {
        param.putInt32(1);
        param.putCString(path.c_str(), false);
    }
    if (!ad.empty()) param.putCString(ad.c_str(), false);
    player.setParameter(kParamSubtitle, param, -1);
}

void sendTwoSubtitles(IOriPlayer &player, const std::string &value) {
    constexpr int kParamTwoSubtitles = 3302;
    const std::string paths[] = {entryOf("subtitlePath1", value), entryOf("subtitlePath2", value)};
    Param param;
    param.putInt32((paths[0].empty() ? 0 : 1) + (paths[1].empty() ? 0 : 1));
    for (int i = 0; i < 2; ++i) {
        if (paths[i].empty()) continue;
        param.putInt32(i + 1);
        param.putCString(paths[i].c_str(), false);
    }
    player.setParameter(kParamTwoSubtitles, param, -1);
}

void sendSubtitleFont(IOriPlayer &player, const std::string &value) {
    constexpr int kParamSubtitleFont = 3301;
    Param param;
    param.putInt32(value.empty() ? 0 : 1);
    std::string name;
    oriplayer::SubtitleFontInfo font;
    if (!value.empty()) {
        name = entryOf("fontName", value);
        if (!name.empty()) font.fontName = name.c_str();
        font.fontSize = std::atoi(entryOf("fontSize", value).c_str());
        font.textColor = std::atoi(entryOf("textColor", value).c_str());
        font.backgroundColor = std::atoi(entryOf("bgColor", value).c_str());
        param.putPointer(&font);
    }
    player.setParameter(kParamSubtitleFont, param, -1);
}

void setNetcacheFastMode(const std::string &value) {
    if (value.empty()) return;
    VEXO_PRINT(LOG_INFO, "setPlaybackParam enable netcache ext fast mode: %s", value.c_str());
    oriplayer::setProperty(kNetcacheFastMode, value.c_str());
}

void sendByTable(int type, const std::string &value, IOriPlayer &player) {
    const auto *row = std::find_if(std::begin(kRows), std::end(kRows), [=](const auto &r) { return r.type == type; });
    if (row == std::end(kRows)) {
        VEXO_PRINT(LOG_INFO, "TarvoPlayer::setPlaybackParam unknown type");
    } else {
        sendRow(*row, value, player);
    }
}

}  // namespace

int CodecMediaProcess::SetPlaybackParam(int type, std::string value) {
    VEXO_PRINT(LOG_INFO, "CodecMediaProcess::setPlaybackParam type %d, value %s", type, value.c_str());
    const auto player = activePlayer();
    if (!player) return -1;
    switch (type) {
        case kSubtitleWithAd:
            sendSubtitle(*player, value, Ad::kMayFollow);
            break;
        case kSubtitle:
            sendSubtitle(*player, value, Ad::kNone);
            break;
        case kTwoSubtitles:
            sendTwoSubtitles(*player, value);
            break;
        case kSubtitleFont:
            sendSubtitleFont(*player, value);
            break;
        case kNetcacheFastMode:
            setNetcacheFastMode(value);
            break;
        case kDeferredText:
            sendDeferredText(*player, value);
            break;
        default:
            sendByTable(type, value, *player);
            break;
    }
    return 0;
}

// The first text of this object's life reaches the engine, later ones are kept.
void CodecMediaProcess::sendDeferredText(IOriPlayer &player, const std::string &value) {
    constexpr int kParamDeferredText = 4101;
    constexpr int kSent = 9;
    {
        MutexLock lock(mStateLock);
        mDeferredText = value;
        if (value.empty() || mDeferredTextState == kSent) return;
        mDeferredTextState = kSent;
    }
    Param param;
    param.putCString(value.c_str(), false);
    player.setParameter(kParamDeferredText, param, -1);
}

std::string CodecMediaProcess::parseSourceParamS(const char *key, const char *source) {
    if (!key || !source) return {};
    const std::string text = source;
    const std::size_t found = text.find(key);
    if (found == std::string::npos) {
        VEXO_PRINT(LOG_DEBUG, "[HVIDEO]:parseSourceParamS none value for key(%s)!", key);
        return {};
    }
    // One character separates key and value, whichever it is.
    const std::size_t begin = std::min(found + std::string(key).size() + 1, text.size());
    const std::string value = text.substr(begin, text.find(';', begin) - begin);
    VEXO_PRINT(LOG_INFO, "[HVIDEO]:CodecMediaProcess parseSourceParamS %s=%s \n", key, value.c_str());
    return value;
}

int CodecMediaProcess::parseSourceParamI(const char *key, const char *source) {
    const std::string text = parseSourceParamS(key, source);
    if (text.empty()) return -1;
    const int value = std::atoi(text.c_str());
    VEXO_PRINT(LOG_INFO, "[HVIDEO]:CodecMediaProcess parseSourceParamI %s=%d \n", key, value);
    return value;
}

}  // namespace vexo
