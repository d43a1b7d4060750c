#include "module/properties.h"

#include <charconv>
#include <mutex>

#include "base/oriplayer/module.h"

namespace oriplayer {
namespace {

constexpr int kPropertyCacheFastMode = 123;

struct Store {
    std::mutex mutex;
    Properties values;
};

// Never destroyed: a thread that outlives main() may still prepare.
Store &store() {
    static auto &instance = *new Store;
    return instance;
}

bool readSwitch(const std::string &text, bool &value) {
    if (!text.empty() && text != "0" && text != "1") return false;
    value = text == "1";
    return true;
}

bool readNumber(const std::string &text, int lowest, int fallback, int &value) {
    if (text.empty()) {
        value = fallback;
        return true;
    }
    int number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < lowest) return false;
    value = number;
    return true;
}

bool keep(const std::string &text, std::string &value) {
    value = text;
    return true;
}

bool set(Properties &values, int number, const std::string &text) {
    const Properties defaults;
    switch (number) {
        case kPropertyUntimed:
            return readSwitch(text, values.untimed);
        case kPropertySoundOff:
            return readSwitch(text, values.soundOff);
        case kPropertyPictureOff:
            return readSwitch(text, values.pictureOff);
        case kPropertyAudioTrack:
            return keep(text, values.audioTrack);
        case kPropertyCaFile:
            return keep(text, values.caFile);
        case kPropertyDecoderThreads:
            return readNumber(text, 1, defaults.decoderThreads, values.decoderThreads);
        case kPropertyNetworkTimeout:
            return readNumber(text, 1, defaults.networkTimeoutMs, values.networkTimeoutMs);
        case kPropertyPreloadWindow:
            return readNumber(text, 0, defaults.preloadWindow, values.preloadWindow);
        case kPropertyCores:
            return readNumber(text, 1, defaults.cores, values.cores);
        case kPropertyCacheFastMode:
            return keep(text, values.cacheFastMode);
        default:
            return false;
    }
}

}  // namespace

Properties currentProperties() {
    std::lock_guard lock(store().mutex);
    return store().values;
}

int setProperty(int number, const char *value) {
    const std::string text = value ? value : "";
    std::lock_guard lock(store().mutex);
    return set(store().values, number, text) ? 0 : -1;
}

}  // namespace oriplayer
