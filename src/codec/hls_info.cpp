// The text on adaptive HLS playback that the full record carries.
#include <array>

#include "base/log.h"
#include "base/oriplayer/player.h"
#include "codec/codec_media_process.h"
#include "codec/report_text.h"

namespace vexo {
namespace {

constexpr int kParamHls = 1610;

/// Without a source here: 0 in every text.
constexpr std::array kConstantLabels{
    "isHls:",        "enableAdaptive:", "totalErrorCnt:",  "totalConnCnt:", "totalTaskChangeCnt:", "taskNum:",
    "timeoutTimes:", "isMdl:",          "taskCfgSession:", "adaptiveMode:", "adaptivePolicy:",     "sumbaEnable:",
};

/// In the order in which the engine gives the values; the text shows them from the last to the first.
constexpr std::array kReadLabels{
    "predownloadcount:", "streamTypeCode:",   "startGearIndex:",   "startGearMethod:",   "hd2downBuffer:",
    "hddownBuffer:",     "sddownBuffer:",     "hd2downTime:",      "hddownTime:",        "sddownTime:",
    "hd3upTs:",          "hd2upTs:",          "hdupTs:",           "hd3upBuffer:",       "hd2upBuffer:",
    "hdupBuffer:",       "hd3upTime:",        "hd2upTime:",        "hdupTime:",          "maxBufBytes:",
    "highestGear:",      "abrScheme:",        "gear9PlayingTime:", "gear8PlayingTime:",  "gear7PlayingTime:",
    "gear6PlayingTime:", "gear5PlayingTime:", "gear4PlayingTime:", "gear3PlayingTime:",  "gear2PlayingTime:",
    "gear1PlayingTime:", "gear0PlayingTime:", "bweBiasedTimes:",   "switchBiasedTimes:", "switchTimes:",
    "bweTimes:",         "downGearCount:",    "upGearCount:",      "gearCount:",
};
static_assert(kReadLabels.size() == 39);
constexpr std::size_t kHighestGear = 20;  // a label without a value of the engine's stands in front of it

void putReadings(const oriplayer::Param &param, ReportText &text) {
    std::array<int, kReadLabels.size()> values;
    for (int &value : values) value = param.getInt32(-1);
    for (std::size_t i = values.size(); i-- > 0;) {
        if (i == kHighestGear) text.put("enableNetDetection:", 0);
        text.put(kReadLabels[i], values[i]);
    }
}

}  // namespace

std::string CodecMediaProcess::getHlsInfo() {
    ReportText text('&');
    for (const char *label : kConstantLabels) text.put(label, 0);
    text.put("buffSched:", buffSched());
    text.put("playlistSourcerSwitch:", 200);
    oriplayer::Param param;
    const auto player = activePlayer();
    if (player && player->getParameter(kParamHls, &param, -1) == 0) putReadings(param, text);
    std::string result = text.str();
    VEXO_PRINT(LOG_INFO, "getHlsInfo: %s", result.c_str());
    return result;
}

}  // namespace vexo
