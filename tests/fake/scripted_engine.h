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
//           since reset(). An entry is "p1.call" or "p1.call(arguments)", that of a module function "call(arguments)";
//           "create(failed)" stands for a player that was refused. Arguments are those by which a test can tell one
//           call from another: URLs (of all sources, "a+b"), positions and modes, numbers of parameters and filters.
//           Queries (getX, isX) are written only while logQueries is on.
// Events:   post() tells the player's listener on the calling thread, postLater() on the engine's event thread, in
//           order; with autoPrepare a prepareAsync posts 1000 that way. Behind stop, or without a listener, a player is
//           silent and post() answers false.
// Threads:  everything from any thread; listeners and hooks run with no lock of the engine held.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <variant>
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

    // The player's and the engine's own. Kept here and not in the player, so that an event under way does not prolong
    // the player's life.
    std::atomic<int> id{0};  ///< 0 until it is created
    std::atomic<bool> forgotten{false};
    std::mutex mutex;  ///< guards what follows; the listener is called without it
    bool stopped = false;
    std::shared_ptr<oriplayer::IOriPlayerListener> listener;
    std::shared_ptr<oriplayer::VideoRenderPipeline> pipeline;
    std::shared_ptr<protocols::IReporter> reporter;
};

/// A setParameter or setRenderConfig call; `value` owns its strings.
struct ParameterCall {
    std::string player;
    std::string call;
    int number;
    oriplayer::Param value;
    int index;
};

struct FilterCall {
    int type;
    std::vector<std::pair<std::string, std::string>> params;
    int index;
};

class ScriptedEngine {
public:
    static ScriptedEngine &instance();

    /// Forgets logs, scripts and answers, and counts players from p1 again. Players that still live become silent and
    /// go on being counted as living. Waits for events that postLater still has under way.
    void reset();

    // ---- what was called
    std::string takeLog();  ///< the entries since the last take, separated by blanks
    std::string history();  ///< all entries since reset(), taken or not
    /// True once the engine has been called so since reset(), taken or not; waits for at most 10 s.
    bool waitForCall(const std::string &entry);
    std::atomic<bool> logQueries{false};
    std::vector<ParameterCall> takeParameterCalls() { return take(parameterCalls_); }
    std::vector<FilterCall> takeFilterCalls() { return take(filterCalls_); }
    int created() { return read(created_); }
    int living() { return read(living_); }
    int maxLiving() { return read(maxLiving_); }  ///< the most that lived at one moment since reset()

    // ---- what is answered
    /// The reference is good until reset().
    PlayerScript &player(const std::string &name) { return *script(name); }
    /// The engine's own id of a player, 0 if it was not created yet. Never used again.
    int idOf(const std::string &name) { return script(name)->id; }
    /// What a living player was given last, or empty.
    std::shared_ptr<oriplayer::VideoRenderPipeline> pipelineOf(const std::string &name);
    std::shared_ptr<protocols::IReporter> reporterOf(const std::string &name);
    /// The next `count` creations give an empty pointer.
    void failCreates(int count) { set(failing_, count); }
    /// getParameter answers -1 for a number that has no answer, setters answer 0 unless a result is given here.
    void answerParameter(int number, const oriplayer::Param &value) { answer(parameters_, number, value); }
    void resultOf(int number, int result) { answer(results_, number, result); }
    /// What getInfoByPlayerId writes for a key: a number, or a malloc'ed copy of a text.
    void answerInfo(int key, std::variant<int64_t, std::string> value) { answer(infos_, key, std::move(value)); }
    void answerDownload(double bytesPerSecond, int status);  ///< getDownloadStatisticInfo fails before
    oriplayer::NetworkSwitchDomainCB domainCallback() { return read(domainCallback_); }
    /// Runs inside each call, on its thread, behind its log entry; gets the entry.
    void onCall(std::function<void(const std::string &entry)> hook) { set(hook_, std::move(hook)); }

    // ---- what is said
    std::atomic<bool> autoPrepare{false};
    bool post(const std::string &name, int what, int arg1 = 0, int arg2 = 0, const oriplayer::Param &param = {});
    void postLater(const std::string &name, int what);
    /// Waits until postLater's events have been told.
    void waitPosted();

    // ---- for the definitions behind the boundary
    std::shared_ptr<oriplayer::IOriPlayer> create();
    void destroyed();
    template <typename... Arguments> void write(const std::string &call, const Arguments &...arguments) {
        std::ostringstream list;
        ((list << (list.tellp() > 0 ? "," : "(") << arguments), ...);
        writeEntry(call + list.str() + (sizeof...(arguments) > 0 ? ")" : ""));
    }
    template <typename... Arguments> void writeQuery(const std::string &call, const Arguments &...arguments) {
        if (logQueries) write(call, arguments...);
    }
    void keep(ParameterCall call);
    void keep(FilterCall call);
    int getParameter(int number, oriplayer::Param &value);
    int result(int number);
    int info(int playerId, int key, void *out);
    int download(int playerId, oriplayer::cache_static_t *out);
    void setDomainCallback(oriplayer::NetworkSwitchDomainCB callback) { set(domainCallback_, callback); }

private:
    ScriptedEngine();
    ~ScriptedEngine();
    void writeEntry(const std::string &entry);
    std::shared_ptr<PlayerScript> script(const std::string &name);
    bool knows(int playerId);

    template <typename T> T read(const T &value) {
        const std::lock_guard lock(mutex_);
        return value;
    }
    template <typename T> T take(T &value) {
        const std::lock_guard lock(mutex_);
        return std::exchange(value, {});
    }
    template <typename T> void set(T &place, T value) {
        const std::lock_guard lock(mutex_);
        place = std::move(value);
    }
    template <typename T> void answer(std::map<int, T> &answers, int number, T value) {
        const std::lock_guard lock(mutex_);
        answers[number] = std::move(value);
    }

    struct Download {
        double speed;
        int status;
    };

    std::mutex mutex_;  // guards what follows
    std::condition_variable changed_;
    std::vector<std::string> log_;
    std::vector<std::string> history_;
    std::vector<ParameterCall> parameterCalls_;
    std::vector<FilterCall> filterCalls_;
    std::function<void(const std::string &)> hook_;
    std::map<std::string, std::shared_ptr<PlayerScript>> scripts_;
    int lastId_ = 100;
    int created_ = 0;
    int living_ = 0;
    int maxLiving_ = 0;
    int failing_ = 0;
    std::map<int, oriplayer::Param> parameters_;
    std::map<int, int> results_;
    std::map<int, std::variant<int64_t, std::string>> infos_;
    std::optional<Download> download_;
    oriplayer::NetworkSwitchDomainCB domainCallback_ = nullptr;
    std::deque<std::pair<std::string, int>> later_;  // player and event
    bool telling_ = false;
    bool ending_ = false;
    std::thread teller_;
};

}  // namespace fake
