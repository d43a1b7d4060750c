#pragma once

// An engine that plays nothing: it stands behind the boundary in the real one's place, writes down every call and
// answers and speaks as the test says. Programs that link `scripted_engine` get all of the boundary: the values and
// lists are the real ones.
//
//   auto &engine = ScriptedEngine::instance();
//   engine.reset();                                     // in SetUp and TearDown
//   engine.player("p1").durationMs = 10'000;            // may be said before p1 exists
//   ... the code under test creates a player, prepares and starts it ...
//   EXPECT_EQ(engine.takeLog(), "p1.create p1.setListener p1.setDataSource(a.mp4) p1.prepareAsync p1.start");
//   engine.post("p1", 1001);                            // on this thread, as an engine thread would
//   EXPECT_EQ(engine.maxLiving(), 1);
//
// Log:      one for the process, in the order of the calls. Players are p1, p2, ... in the order of their creation
//           since reset(). An entry is "p1.call" or "p1.call(arguments)", that of a module function "call(arguments)":
//             p1.create  p1.destroy  p1.setUserAgent(ua)  p1.setReporter  p1.setConfigure  p1.setVideoPipeline
//             p1.setVideoSurface(0x10,1)  p1.setListener  p1.setListener(null)  p1.setDataSource(url+url)
//             p1.changePeriod(url)  p1.addSource(url)  p1.prepareAsync  p1.start  p1.pause  p1.seekTo(5000,0)
//             p1.stop  p1.setLooping(1)  p1.setParameter(3004)  p1.setRenderConfig(2011)  p1.setFilter(5)
//             create(failed)  addPreloadTask(url,8192)  setProperty(123,value)
//           Queries (getX, isX, getPlayerId, getInfoByPlayerId) are written only while logQueries is on.
// Answers:  PlayerScript holds what a player answers; all zero at first.
// Events:   post() tells the player's listener on the calling thread, postLater() on the engine's event thread, in
//           order; with autoPrepare a prepareAsync posts 1000 that way. Behind stop, or without a listener, a player is
//           silent and post() answers false.
// Threads:  everything from any thread; listeners and hooks run with no lock of the engine held.

#include <any>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/oriplayer/listener.h"
#include "base/oriplayer/module.h"
#include "base/oriplayer/param.h"
#include "base/oriplayer/player.h"

namespace fake {

/// What one player answers; change it at any time.
struct PlayerScript {
    std::atomic<int64_t> durationMs{-1};  ///< -1: the declared lengths of what it was given, added up
    std::atomic<int64_t> positionMs{0};
    std::atomic<int> width{0};
    std::atomic<int> height{0};
    std::atomic<int> startResult{0};
    std::atomic<bool> playing{false};
    std::atomic<bool> looping{false};  ///< also changed by setLooping
};

/// A setParameter, setRenderConfig or getParameter call; `value` owns its strings.
struct ParameterCall {
    std::string player;
    std::string call;
    int number;
    oriplayer::Param value;
    int index;
};

struct FilterCall {
    std::string player;
    int type;
    std::vector<std::pair<std::string, std::string>> params;
    int index;
};

class ScriptedPlayer;
struct Voice;

class ScriptedEngine {
public:
    static ScriptedEngine &instance();

    /// Forgets logs, scripts and answers, and counts players from p1 again. Players that still live become silent and
    /// go on being counted as living. Waits for events that postLater still has under way.
    void reset();

    // ---- what was called
    std::string takeLog();  ///< the entries since the last take, separated by blanks
    std::string peekLog();
    std::atomic<bool> logQueries{false};
    std::vector<ParameterCall> takeParameterCalls();
    std::vector<FilterCall> takeFilterCalls();
    int created();
    int living();
    int maxLiving();  ///< the most that lived at one moment since reset()

    // ---- what is answered
    /// The reference is good until reset().
    PlayerScript &player(const std::string &name);
    /// The engine's own id of a player, 0 if it was not created yet. Never used again.
    int idOf(const std::string &name);
    /// What a living player was given last, or empty.
    std::shared_ptr<oriplayer::VideoRenderPipeline> pipelineOf(const std::string &name);
    std::shared_ptr<protocols::IReporter> reporterOf(const std::string &name);
    /// The next `count` creations give an empty pointer.
    void failCreates(int count);
    /// getParameter answers -1 for a number that has no answer, setters answer 0 unless a result is given here.
    void answerParameter(int number, const oriplayer::Param &value);
    void resultOf(int number, int result);
    /// What getInfoByPlayerId writes for a key: int64_t, int32_t, or std::string (a malloc'ed copy).
    void answerInfo(int key, std::any value);
    void answerDownload(double bytesPerSecond, int status);  ///< getDownloadStatisticInfo fails before
    oriplayer::NetworkSwitchDomainCB domainCallback();
    /// Runs inside each call, on its thread, behind its log entry; gets the entry.
    void onCall(std::function<void(const std::string &entry)> hook);

    // ---- what is said
    std::atomic<bool> autoPrepare{false};
    bool post(const std::string &name, int what, int arg1 = 0, int arg2 = 0, const oriplayer::Param &param = {});
    void postLater(const std::string &name, int what, int arg1 = 0, int arg2 = 0, const oriplayer::Param &param = {});
    /// Waits until postLater's events have been told.
    void waitPosted();

    // ---- for the definitions behind the boundary
    std::shared_ptr<oriplayer::IOriPlayer> create();
    void destroyed(const std::string &entry);
    void write(const std::string &entry);
    void writeQuery(const std::string &entry);
    void keep(ParameterCall call);
    void keep(FilterCall call);
    bool parameter(int number, oriplayer::Param &value);
    int result(int number);
    int info(int playerId, int key, void *out);
    int download(int playerId, oriplayer::cache_static_t *out);
    void setDomainCallback(oriplayer::NetworkSwitchDomainCB callback);

private:
    ScriptedEngine();
    ~ScriptedEngine();
    std::shared_ptr<Voice> voice(const std::string &name);
    template <typename T> std::shared_ptr<T> given(const std::string &name, std::shared_ptr<T> Voice::*what);

    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace fake
