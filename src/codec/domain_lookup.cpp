#include <cstdint>
#include <cstring>

#include "base/log.h"
#include "codec/codec_net_process.h"

namespace vexo {

// The lists are never destroyed: a player dropped inside a callback may still be ending while the process ends.
Mutex CodecNetProcess::sInstancesLock;
std::vector<CodecNetInstance> &CodecNetProcess::sInstances = *new std::vector<CodecNetInstance>;
Mutex CodecNetProcess::sPeersLock;
std::vector<CodecNetProcess *> &CodecNetProcess::sPeers = *new std::vector<CodecNetProcess *>;

int CodecNetProcess::GetDomainListAfterNetChanged(const int id, char *domain, const int size, int &networkState,
                                                  const char *url, const char *extra) {
    VEXO_PRINT(LOG_INFO, "CodecNetProcess::getDomainListAfterNetChanged enter, id = %d, sIsWifiRealTime = %d", id,
               sIsWifiRealTime.load());
    networkState = sIsWifiRealTime;
    MutexLock lock(sInstancesLock);
    if (!domain || size <= 0 || sInstances.empty()) return -1;
    for (const CodecNetInstance &instance : sInstances) {
        const auto recorded = instance.process ? instance.process->recordedFor(id) : std::nullopt;
        if (recorded) return instance.process->answer(*recorded, domain, size, networkState, url, extra);
    }
    const CodecNetProcess *last = nullptr;
    for (const CodecNetInstance &instance : sInstances) {
        if (!instance.process) continue;
        last = instance.process;
        if (last->mCurrentPlayerId == id) {
            return last->answer(last->ownDomains(), domain, size, networkState, url, extra);
        }
    }
    if (last) return last->answerInstead(domain, size);
    VEXO_PRINT(LOG_DEBUG, "Download Start ptr == null\n");
    return -1;
}

std::optional<CodecNetProcess::Domains> CodecNetProcess::recordedFor(int player) const {
    MutexLock lock(mTextLock);
    for (const PlayerDomains &recorded : mRecorded) {
        if (recorded.player == player) return recorded.domains;
    }
    return {};
}

CodecNetProcess::Domains CodecNetProcess::ownDomains() const {
    MutexLock lock(mTextLock);
    return {mWifiDomain, m4GDomain, mUseNewHostStrategy};
}

const std::string &CodecNetProcess::choose(const Domains &domains) {
    return sIsWifiRealTime != 0 ? domains.wifi : domains.mobile;
}

/// For a player that no processor knows: the domain of the newest processor is better than none.
int CodecNetProcess::answerInstead(char *domain, int size) const {
    const Domains domains = ownDomains();
    const std::string &text = choose(domains);
    if (text.empty()) {
        VEXO_PRINT(LOG_DEBUG, "Download Startdomian is empty");
        return -1;
    }
    copyOut(text, domain, size);
    VEXO_PRINT(LOG_DEBUG, "Download Start haveFindPtr CodecNetProcess::result==%s\n", text.c_str());
    VEXO_SINK("Download Start haveFindPtr CodecNetProcess::result==%s\n", text.c_str());
    return 0;
}

int CodecNetProcess::answer(const Domains &domains, char *domain, int size, int &networkState, const char *url,
                            const char *extra) const {
    probeNetwork(url, networkState);
    if (domains.useNewHostStrategy) {
        resolveByHost(domain, size, url, extra);
        return 0;
    }
    VEXO_PRINT(LOG_DEBUG,
               "CodecNetProcess::getDomainListAfterNetChanged enter, movie, networkState = %d, sIsWifiRealTime = %d, "
               "mLastNetworkType = %d",
               networkState, sIsWifiRealTime.load(), mLastNetworkType.load());
    const std::string &text = choose(domains);
    VEXO_PRINT(LOG_DEBUG, "Download Start domain ======%s %d", text.c_str(), sIsWifiRealTime.load());
    VEXO_SINK("Download Start domain ======%s %d", text.c_str(), sIsWifiRealTime.load());
    if (text.empty()) return -1;
    copyOut(text, domain, size);
    VEXO_PRINT(LOG_DEBUG, "Download Start CodecNetProcess::result==%s %d\n", text.c_str(), sIsWifiRealTime.load());
    VEXO_SINK("Download Start CodecNetProcess::result==%s\n", text.c_str());
    return 0;
}

/// Peer-to-peer downloads on a mobile network use a local server. The application may have them treated as wifi.
void CodecNetProcess::probeNetwork(const char *url, int &networkState) const {
    if (!url || !std::strstr(url, "127.0.0.1") || !mP2pVodEnable4G) return;
    std::shared_ptr<INetworkProbe> probe;
    {
        MutexLock lock(mTextLock);
        probe = mNetworkProbe;
    }
    if (probe && probe->check() == 0) networkState = 1;
}

void CodecNetProcess::resolveByHost(char *domain, int size, const char *url, const char *extra) const {
    std::shared_ptr<IHostStrategy> strategy;
    {
        MutexLock lock(mTextLock);
        strategy = mHostStrategy;
    }
    const auto owner = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(mOwner.load()));
    if (strategy) strategy->resolve(static_cast<int>(owner), url, extra, domain, size);
}

/// A text that does not fit fills the buffer and is not terminated; the engine's buffer is larger than any domain text.
void CodecNetProcess::copyOut(const std::string &text, char *domain, int size) {
    std::strncpy(domain, text.c_str(), static_cast<std::size_t>(size));
}

}  // namespace vexo
