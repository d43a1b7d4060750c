#pragma once

#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/oriplayer/string_map.h"
#include "base/protocols/configure.h"
#include "codec/i_codec.h"

namespace vexo {

class CodecNetProcess;
class MixedCodecsPlayer;

/// Finds the domains for a player in the host's own way. Called while every lookup of the process waits: it returns
/// soon, uses no player, and neither makes nor destroys one.
class IHostStrategy {
public:
    virtual ~IHostStrategy() = default;
    /// Writes a text of at most `size` characters to `buffer`, or leaves it. `owner` tells players apart.
    virtual int resolve(int owner, const char *url, const char *extra, char *buffer, int size) = 0;
};

/// Looks at the network on the host's behalf, under the same conditions.
class INetworkProbe {
public:
    virtual ~INetworkProbe() = default;
    /// 0 makes the engine treat the network as wifi.
    virtual int check() = 0;
};

constexpr int MEDIA_INFO_NETWORK_SPEED_UPDATE = 2006;

/// An event that the caller may send on.
struct Para {
    int what = 0;
    int arg1 = 0;
    std::string text;
};

/// A living processor, in the order of construction.
struct CodecNetInstance {
    CodecNetProcess *process = nullptr;
    std::string reserved1;
    std::string reserved2;
};

/// Follows the host's configuration for the network type and the domains to load from, and answers the engine when it
/// asks for a domain after a change of network.
///
/// Process:  whether the device is on wifi, and the list of processors, are shared by all players: the engine asks one
///           function for all of them. The last writer of the network state wins. The update that changes it is also
///           passed on to the processors that follow the same configuration, before any engine player is told, so that
///           each question it causes is answered with its domains.
/// Threads:  any; OnConfigUpdate on the host's, the domain lookup on the engine's. The destructor waits for an
///           OnConfigUpdate under way, and so does not run inside one.
/// Locks:    sInstancesLock guards the list and is held through a whole lookup, and so through calls of the host's
///           strategy and probe; nobody takes it under a timeline's mutex, or in an update, where the host may hold
///           locks that they wait for. mUpdateLock spans OnConfigUpdate. sPeersLock guards a second list, for updates;
///           no call leaves the class under it. mTextLock guards texts and pointers and is a leaf. Order: mUpdateLock,
///           sPeersLock, leaves. The rest is atomic.
class VEXO_API CodecNetProcess : public ICodec, public protocols::ConfigureListener {
public:
    explicit CodecNetProcess(MixedCodecsPlayer *owner);
    ~CodecNetProcess() override;

    /// Takes effect with the next registration.
    void SetConfigure(std::shared_ptr<protocols::IConfigure> configure) override;
    /// Also reads the network state once; domains come with updates and periods alone.
    void RegisterCodecConfigListener() override;
    void RemoveCodecConfigListener() override;
    /// A missing or empty value leaves what is known.
    void OnConfigUpdate(std::string ns, std::map<std::string, std::string> values) override;

    /// A bound has been entered: `id` is its engine player's, `headers` its period's. May run under a timeline's mutex.
    /// Always 0.
    int SetCurrentHeader(int id, std::shared_ptr<oriplayer::StringMap> headers);
    /// A bound has been entered on timeline 0 (main) or 1: `id` is the engine player's, `headers` the period's, which
    /// may be null. Questions about that player are answered with these domains, also after the other timeline has
    /// entered bounds of its own. Domains that the headers do not name stay as they were on this timeline; the first
    /// period of timeline 1 inherits them from timeline 0. The host strategy is off unless non-empty headers switch it
    /// on. May run under a timeline's mutex.
    void RecordDomains(int timeline, int id, const std::shared_ptr<oriplayer::StringMap> &headers);
    /// `status` is read as a number: 1 is wifi, 0 (also a text without a number) a mobile network; other numbers are
    /// ignored. A change is passed on to the main timeline's engine player of every processor of the process. Always 0.
    int HandleNetStatusChange(const std::string &status);

    /// Makes `para` a MEDIA_INFO_NETWORK_SPEED_UPDATE if something is being downloaded now, and leaves it else: arg1 is
    /// the speed in thousands of bytes a second, text "download_status=" and the engine's number. -1 without a player.
    int OndownloadSpeedUpdate(Para &para);

    void SetHostStrategy(std::shared_ptr<IHostStrategy> strategy);
    void ClearHostStrategy();
    void SetNetworkProbe(std::shared_ptr<INetworkProbe> probe);
    void ClearNetworkProbe();

    /// The engine's question: the domains for player `id`, at most `size` characters without a promise of a final zero,
    /// and 1 for wifi or 0. 0, or -1 with `domain` as it was.
    static int GetDomainListAfterNetChanged(const int id, char *domain, const int size, int &networkState,
                                            const char *url, const char *extra);

private:
    std::shared_ptr<protocols::IConfigure> configure() const;
    /// What questions about one engine player are answered with.
    struct Domains {
        std::string wifi;
        std::string mobile;
        bool useNewHostStrategy = false;
    };
    struct PlayerDomains {
        std::optional<int> player;  // unset until the timeline enters its first bound
        Domains domains;
    };
    std::optional<Domains> recordedFor(int player) const;
    Domains ownDomains() const;
    /// Empty texts change nothing.
    void takeDomains(const std::string &wifi, const std::string &mobile);
    void shareDomains(const std::string &wifi, const std::string &mobile);
    bool follows(const protocols::IConfigure *configure) const;
    std::vector<std::shared_ptr<oriplayer::IOriPlayer>> otherPlayers() const;
    void probeNetwork(const char *url, int &networkState) const;
    void resolveByHost(char *domain, int size, const char *url, const char *extra) const;
    int answer(const Domains &domains, char *domain, int size, int &networkState, const char *url,
               const char *extra) const;
    int answerInstead(char *domain, int size) const;
    static const std::string &choose(const Domains &domains);
    static void copyOut(const std::string &text, char *domain, int size);
    void setDomain(std::string CodecNetProcess::*domain, std::string text);

    std::atomic<MixedCodecsPlayer *> mOwner;
    std::string mWifiDomain VEXO_GUARDED_BY(mTextLock);
    std::string m4GDomain VEXO_GUARDED_BY(mTextLock);
    std::array<PlayerDomains, 2> mRecorded VEXO_GUARDED_BY(mTextLock);  ///< of the main and the isolated timeline
    std::shared_ptr<protocols::IConfigure> mNetConfigure VEXO_GUARDED_BY(mTextLock);
    const std::string mWifiStrategy;  ///< these two appear in the log; nothing fills them yet
    const std::string m4GStrategy;
    std::atomic<bool> mUseNewHostStrategy{false};
    std::atomic<bool> mP2pVodEnable4G{false};
    std::atomic<int> mLastNetworkType{1};
    std::atomic<int> mIsWifi{1};
    std::atomic<int> mCurrentPlayerId{-1};
    std::shared_ptr<IHostStrategy> mHostStrategy VEXO_GUARDED_BY(mTextLock);
    std::shared_ptr<INetworkProbe> mNetworkProbe VEXO_GUARDED_BY(mTextLock);
    mutable Mutex mTextLock;
    RecursiveMutex mUpdateLock;

    static std::atomic<int> sIsWifiRealTime;
    static Mutex sInstancesLock;
    static std::vector<CodecNetInstance> &sInstances VEXO_GUARDED_BY(sInstancesLock);
    static Mutex sPeersLock;
    static std::vector<CodecNetProcess *> &sPeers VEXO_GUARDED_BY(sPeersLock);
};

}  // namespace vexo
