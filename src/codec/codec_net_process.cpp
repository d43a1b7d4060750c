#include "codec/codec_net_process.h"

#include <cstdlib>
#include <utility>

#include "base/log.h"
#include "base/oriplayer/module.h"
#include "base/oriplayer/param.h"
#include "base/oriplayer/player.h"
#include "codec/config_keys.h"
#include "timeline/timeline.h"

namespace vexo {
namespace {

constexpr char kWifiType[] = "0";  // any other text under kNetworkType is a mobile network

/// The value under `key`, empty if there is none.
std::string find(const std::map<std::string, std::string> &values, const char *key) {
    const auto found = values.find(key);
    return found == values.end() ? std::string() : found->second;
}

}  // namespace

std::atomic<int> CodecNetProcess::sIsWifiRealTime{1};

CodecNetProcess::CodecNetProcess(MixedCodecsPlayer *owner) : mOwner(owner) {
    {
        MutexLock lock(sPeersLock);
        sPeers.push_back(this);
    }
    MutexLock lock(sInstancesLock);
    sInstances.push_back({this, {}, {}});
    oriplayer::setNetworkSwitchDomainCB(&CodecNetProcess::GetDomainListAfterNetChanged);
}

CodecNetProcess::~CodecNetProcess() {
    VEXO_PRINT(LOG_DEBUG, "codec net process destruction");
    RemoveCodecConfigListener();
    { MutexLock wait(mUpdateLock); }  // for an update that began before the removal
    mOwner = nullptr;
    {
        MutexLock lock(sPeersLock);
        std::erase(sPeers, this);
    }
    MutexLock lock(sInstancesLock);
    std::erase_if(sInstances, [this](const CodecNetInstance &instance) { return instance.process == this; });
}

void CodecNetProcess::SetConfigure(std::shared_ptr<protocols::IConfigure> configure) {
    MutexLock lock(mTextLock);
    mNetConfigure.swap(configure);  // the former one is released with the argument, after the lock
}

std::shared_ptr<protocols::IConfigure> CodecNetProcess::configure() const {
    MutexLock lock(mTextLock);
    return mNetConfigure;
}

void CodecNetProcess::RegisterCodecConfigListener() {
    const auto configure = this->configure();
    if (!configure) return;
    VEXO_PRINT(LOG_DEBUG, "add local config listener this:%p", static_cast<void *>(this));
    for (const ConfigKey &key : kFollowedKeys) configure->addListener(key.ns, key.key, this);
    const std::string status = configure->getLocalConfig(kSystemInfo, kNetworkType, "0");
    const std::string enable = configure->getConfig(kAppInitialize, kP2pVodEnable4G, "0");
    mP2pVodEnable4G = std::atoi(enable.c_str()) != 0;
    const int isWifi = status == kWifiType ? 1 : 0;
    mIsWifi = isWifi;
    sIsWifiRealTime = isWifi;
    VEXO_PRINT(LOG_DEBUG, "CodecNetProcess getnetstatus %s\n", status.c_str());
}

void CodecNetProcess::RemoveCodecConfigListener() {
    const std::shared_ptr<Timeline> timeline = this->timeline();
    auto configure = this->configure();
    VEXO_PRINT(LOG_DEBUG, "remove local config listener this:%p, configure:%p", static_cast<void *>(this),
               static_cast<void *>(configure.get()));
    if (!configure && timeline) {
        configure = timeline->GetConfigure();
        SetConfigure(configure);
    }
    if (!configure) return;
    for (const ConfigKey &key : kFollowedKeys) configure->removeListener(key.ns, key.key, this);
}

void CodecNetProcess::OnConfigUpdate(std::string ns, std::map<std::string, std::string> values) {
    MutexLock update(mUpdateLock);
    if (ns != kSystemInfo && ns != kPlayInfo) return;
    const std::string type = find(values, kNetworkType);
    std::string wifi;
    if (!type.empty()) wifi = type == kWifiType ? "1" : "0";
    const std::string mobileDomain = find(values, kCdn4GDomain);
    const std::string wifiDomain = find(values, kCdnWifiDomain);
    if (!wifi.empty() && std::atoi(wifi.c_str()) != sIsWifiRealTime) {
        // The change makes the engine look up domains on threads of its own. Such a lookup may run before this call
        // ends, and, for a player of another processor, before the application has updated that processor.
        shareDomains(wifiDomain, mobileDomain);
        HandleNetStatusChange(wifi);
    }
    takeDomains(wifiDomain, mobileDomain);
    VEXO_PRINT(LOG_DEBUG, "CodecNetProcess::m4GStrategy==%s mWifiStrategy==%s iswifi=%s\n", m4GStrategy.c_str(),
               mWifiStrategy.c_str(), wifi.c_str());
}

int CodecNetProcess::HandleNetStatusChange(const std::string &status) {
    constexpr int kKeyNetworkStatus = 3901;
    const int isWifi = std::atoi(status.c_str());
    if (isWifi != 0 && isWifi != 1) return 0;
    const int before = sIsWifiRealTime.exchange(isWifi);
    if (before == isWifi) return 0;
    mLastNetworkType = before;
    VEXO_PRINT(LOG_INFO,
               "set KVPLAYER_PROPERTY_TYPE_NETWORK_STATUS:%d while playing before setParameter mLastNetworkType: %d",
               isWifi, before);
    oriplayer::Param param;
    param.putInt32(isWifi);
    if (const auto player = activePlayer()) {
        player->setParameter(kKeyNetworkStatus, param, -1);
        VEXO_PRINT(LOG_INFO, "set KVPLAYER_PROPERTY_TYPE_NETWORK_STATUS:%d while playing, mLastNetworkType: %d", isWifi,
                   before);
    }
    for (const auto &player : otherPlayers()) player->setParameter(kKeyNetworkStatus, param, -1);
    return 0;
}

// The engine players of the other processors. The timelines are used and released without the lock, because a reference
// that is released here may be the last one.
std::vector<std::shared_ptr<oriplayer::IOriPlayer>> CodecNetProcess::otherPlayers() const {
    std::vector<std::shared_ptr<Timeline>> timelines;
    {
        MutexLock lock(sPeersLock);
        for (const CodecNetProcess *peer : sPeers) {
            if (peer != this) timelines.push_back(peer->timeline());
        }
    }
    std::vector<std::shared_ptr<oriplayer::IOriPlayer>> players;
    for (const auto &timeline : timelines) {
        if (auto player = timeline ? timeline->GetActivePlayer() : nullptr) players.push_back(std::move(player));
    }
    return players;
}

void CodecNetProcess::takeDomains(const std::string &wifi, const std::string &mobile) {
    MutexLock lock(mTextLock);
    if (!wifi.empty()) mWifiDomain = wifi;
    if (!mobile.empty()) m4GDomain = mobile;
    for (PlayerDomains &recorded : mRecorded) {
        if (!wifi.empty()) recorded.domains.wifi = wifi;
        if (!mobile.empty()) recorded.domains.mobile = mobile;
    }
}

// Stores the domains in this processor and in all others that follow the same configuration.
void CodecNetProcess::shareDomains(const std::string &wifi, const std::string &mobile) {
    takeDomains(wifi, mobile);
    const auto followed = configure();
    if (!followed) return;
    MutexLock lock(sPeersLock);
    for (CodecNetProcess *peer : sPeers) {
        if (peer != this && peer->follows(followed.get())) peer->takeDomains(wifi, mobile);
    }
}

bool CodecNetProcess::follows(const protocols::IConfigure *configure) const {
    MutexLock lock(mTextLock);
    return mNetConfigure.get() == configure;
}

void CodecNetProcess::RecordDomains(int timeline, int id, const std::shared_ptr<oriplayer::StringMap> &headers) {
    if (timeline != 0 && timeline != 1) return;
    const bool given = headers && headers->size() > 0;
    const char *wifi = given ? headers->valueFor(kCdnWifiDomain) : nullptr;
    const char *mobile = given ? headers->valueFor(kCdn4GDomain) : nullptr;
    const char *strategy = given ? headers->valueFor(kUseNewHostStrategy) : nullptr;
    MutexLock lock(mTextLock);
    PlayerDomains &recorded = mRecorded[static_cast<std::size_t>(timeline)];
    if (!recorded.player && timeline == 1) recorded.domains = mRecorded[0].domains;
    recorded.player = id;
    if (wifi) recorded.domains.wifi = wifi;
    if (mobile) recorded.domains.mobile = mobile;
    if (given) recorded.domains.useNewHostStrategy = strategy && std::atoi(strategy) != 0;
}

int CodecNetProcess::SetCurrentHeader(int id, std::shared_ptr<oriplayer::StringMap> headers) {
    mCurrentPlayerId = id;
    const int size = headers ? headers->size() : 0;
    if (size == 0) return 0;
    for (int i = 0; i < size; ++i) {
        const char *key = headers->keyAt(i);
        const char *value = headers->valueAt(i);
        if (!key || !value) break;  // another thread has cleared the map
        VEXO_PRINT(LOG_DEBUG, "download1111 start CodecNetProcess key %s== %s\n", key, value);
        VEXO_SINK("download1111 start CodecNetProcess key %s== %s\n", key, value);
    }
    if (const char *wifi = headers->valueFor(kCdnWifiDomain)) {
        setDomain(&CodecNetProcess::mWifiDomain, wifi);
        VEXO_PRINT(LOG_DEBUG, "download start CodecNetProcess setWifiDomain %s\n", wifi);
        VEXO_SINK("download start CodecNetProcess setWifiDomain %s\n", wifi);
    }
    if (const char *mobile = headers->valueFor(kCdn4GDomain)) {
        setDomain(&CodecNetProcess::m4GDomain, mobile);
        VEXO_PRINT(LOG_DEBUG, "download start CodecNetProcess set4GDomain %s\n", mobile);
        VEXO_SINK("download start CodecNetProcess set4GDomain %s\n", mobile);
    }
    const char *useStrategy = headers->valueFor(kUseNewHostStrategy);
    mUseNewHostStrategy = useStrategy && std::atoi(useStrategy) != 0;
    return 0;
}

void CodecNetProcess::setDomain(std::string CodecNetProcess::*domain, std::string text) {
    MutexLock lock(mTextLock);
    (this->*domain).swap(text);
}

void CodecNetProcess::SetHostStrategy(std::shared_ptr<IHostStrategy> strategy) {
    MutexLock lock(mTextLock);
    mHostStrategy.swap(strategy);
}

void CodecNetProcess::ClearHostStrategy() {
    SetHostStrategy(nullptr);
}

void CodecNetProcess::SetNetworkProbe(std::shared_ptr<INetworkProbe> probe) {
    MutexLock lock(mTextLock);
    mNetworkProbe.swap(probe);
}

void CodecNetProcess::ClearNetworkProbe() {
    SetNetworkProbe(nullptr);
}

}  // namespace vexo
