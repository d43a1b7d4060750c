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

/// The application's own way to find the domains for a player. All lookups of the process wait while it runs, so it
/// must return soon, and it must not use, create or destroy a player.
class IHostStrategy {
public:
    virtual ~IHostStrategy() = default;
    /// Writes a text of at most `size` characters to `buffer`, or leaves it unchanged. `owner` identifies the player.
    virtual int resolve(int owner, const char *url, const char *extra, char *buffer, int size) = 0;
};

/// The application's check of the network. The conditions of IHostStrategy apply.
class INetworkProbe {
public:
    virtual ~INetworkProbe() = default;
    /// 0 makes the engine treat the network as wifi.
    virtual int check() = 0;
};

constexpr int MEDIA_INFO_NETWORK_SPEED_UPDATE = 2006;

/// An event that the caller may forward.
struct Para {
    int what = 0;
    int arg1 = 0;
    std::string text;
};

/// An entry of the list of existing processors, which is in the order of their construction.
struct CodecNetInstance {
    CodecNetProcess *process = nullptr;
    std::string reserved1;
    std::string reserved2;
};

/// Follows the application's configuration: the type of the network and the domains to download from. After a change of
/// network the engine asks it for the domains of a player.
///
/// Process:  the network state and the lists of processors are shared by all players, because the engine calls one
///           function for all of them. The last writer of the network state wins. An update that changes the state may
///           contain new domains. They are stored in all processors that follow the same configuration before the first
///           engine player receives the change: each lookup that the change causes must find them.
/// Threads:  any. OnConfigUpdate runs on a thread of the application, the lookup on a thread of the engine. The
///           destructor waits for a running OnConfigUpdate, so it must not run inside one.
/// Locks:    mUpdateLock is held during OnConfigUpdate.
///           sInstancesLock guards the list for lookups and is held during a whole lookup, including the calls of the
///           application's strategy and probe. It is never taken under a timeline's mutex. It is never taken in an
///           update either: the application may hold a lock there that the strategy or the probe waits for.
///           sPeersLock guards the list for updates. No function of another object is called under it.
///           mTextLock guards texts and pointers and is a leaf; the other members are atomic.
///           Order: mUpdateLock, sPeersLock, leaves.
class VEXO_API CodecNetProcess : public ICodec, public protocols::ConfigureListener {
public:
    explicit CodecNetProcess(MixedCodecsPlayer *owner);
    ~CodecNetProcess() override;

    /// Takes effect with the next registration.
    void SetConfigure(std::shared_ptr<protocols::IConfigure> configure) override;
    /// Also reads the network state once. Domains are not read here: updates and the headers of periods provide them.
    void RegisterCodecConfigListener() override;
    void RemoveCodecConfigListener() override;
    /// A missing or empty value changes nothing.
    void OnConfigUpdate(std::string ns, std::map<std::string, std::string> values) override;

    /// Called when a bound has been entered, with the id of its engine player and the headers of its period. May run
    /// under a timeline's mutex. Always 0.
    int SetCurrentHeader(int id, std::shared_ptr<oriplayer::StringMap> headers);
    /// Called when a bound has been entered on timeline 0 (main) or 1 (isolated), with the id of its engine player and
    /// the headers of its period, which may be null. A lookup for that player uses the domains of these headers, also
    /// after the other timeline has entered other bounds. A domain that the headers do not contain stays unchanged on
    /// this timeline; the first period of timeline 1 inherits from timeline 0. Headers that are not empty switch the
    /// host strategy on or off (off without its entry). May run under a timeline's mutex.
    void RecordDomains(int timeline, int id, const std::shared_ptr<oriplayer::StringMap> &headers);
    /// Reads `status` as a number: 1 is wifi, 0 is a mobile network (a text without a number counts as 0), other
    /// numbers are ignored. A change is reported to the engine player of every main timeline in the process. Always 0.
    int HandleNetStatusChange(const std::string &status);

    /// Makes `para` a MEDIA_INFO_NETWORK_SPEED_UPDATE if a download is running: arg1 is the speed in thousands of bytes
    /// per second, text is "download_status=" and the engine's number. Otherwise `para` is unchanged. -1 without a
    /// player.
    int OndownloadSpeedUpdate(Para &para);

    void SetHostStrategy(std::shared_ptr<IHostStrategy> strategy);
    void ClearHostStrategy();
    void SetNetworkProbe(std::shared_ptr<INetworkProbe> probe);
    void ClearNetworkProbe();

    /// The lookup that the engine calls. Writes the domains for player `id` to `domain`, at most `size` characters (a
    /// text of that length or more is not terminated), and the network state, 1 for wifi or 0, to `networkState`.
    /// Returns 0, or -1 if there are none, which leaves `domain` unchanged.
    static int GetDomainListAfterNetChanged(const int id, char *domain, const int size, int &networkState,
                                            const char *url, const char *extra);

private:
    std::shared_ptr<protocols::IConfigure> configure() const;
    /// What a lookup for one engine player uses.
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
    std::array<PlayerDomains, 2> mRecorded VEXO_GUARDED_BY(mTextLock);  ///< for the main and the isolated timeline
    std::shared_ptr<protocols::IConfigure> mNetConfigure VEXO_GUARDED_BY(mTextLock);
    const std::string mWifiStrategy;  ///< these two appear in the log; nothing sets them yet
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
