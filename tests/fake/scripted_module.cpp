// The functions of the engine boundary, as the scripted engine answers them.
#include <json/json.h>

#include <mutex>

#include "base/live_stream_sdk.h"
#include "base/oriplayer/module.h"
#include "base/oriplayer/player.h"
#include "fake/scripted_engine.h"
#include "playlist/local_duration.h"

namespace {

fake::ScriptedEngine &engine() {
    return fake::ScriptedEngine::instance();
}

const char *textOf(const char *text) {
    return text ? text : "null";
}

std::mutex sHandlerMutex;
live_stream_sdk::ReportHandler sHandler;

}  // namespace

namespace oriplayer {

IOriPlayer::~IOriPlayer() = default;

std::shared_ptr<IOriPlayer> IOriPlayer::create() {
    return engine().create();
}

int setProperty(int number, const char *value) {
    engine().write("setProperty", number, textOf(value));
    return engine().result(number);
}

int addPreloadTask(const char *url, int64_t kib) {
    engine().write("addPreloadTask", textOf(url), kib);
    return url && *url ? 0 : -1;
}

int addPreloadTask(const char *url, const char *cacheId, PreloadCallback callback, void *context) {
    engine().write("addPreloadTask", textOf(url), textOf(cacheId));
    if (callback) callback(context, 0, 0, 0, url);
    return url && *url ? 0 : -1;
}

int getInfoByPlayerId(int playerId, int key, void *out) {
    engine().writeQuery("getInfoByPlayerId", playerId, key);
    return engine().info(playerId, key, out);
}

int getDownloadStatisticInfo(int playerId, cache_static_t *out) {
    engine().writeQuery("getDownloadStatisticInfo", playerId);
    return engine().download(playerId, out);
}

void setNetworkSwitchDomainCB(NetworkSwitchDomainCB callback) {
    engine().setDomainCallback(callback);
}

int probeUrl(const char *, const ProbeOptions &, ProbeResult &) {
    return -1;
}

double probeLocalDuration(const std::string &) {
    return 0.0;
}

}  // namespace oriplayer

namespace live_stream_sdk {

void LiveStreamSDKSendReport(int, const char *module, const char *category, void *report, void *) {
    const auto *json = static_cast<const Json::Value *>(report);
    ReportHandler handler;
    {
        const std::lock_guard<std::mutex> lock(sHandlerMutex);
        handler = sHandler;
    }
    if (handler && json) handler(module, category, *json);
}

void setReportHandler(ReportHandler handler) {
    const std::lock_guard<std::mutex> lock(sHandlerMutex);
    sHandler.swap(handler);
}

}  // namespace live_stream_sdk
