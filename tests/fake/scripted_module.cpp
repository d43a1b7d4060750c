// The functions of the engine boundary, as the scripted engine answers them.
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
