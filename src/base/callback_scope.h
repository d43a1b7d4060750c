#pragma once

namespace vexo {

/// Names one player. The player and its timelines share one by shared pointer; only its address counts.
class CallbackToken {};

/// Marks the calling thread as being inside a callback of the player that `token` names: put round every call of an
/// outside listener. Such a thread must not be waited for, so the operations that would wait ask Contains() first.
/// Scopes nest, also those of different players.
/// Threads:  an object belongs to the thread that made it and stands on its stack. `token` outlives it.
class CallbackScope {
public:
    explicit CallbackScope(const CallbackToken &token);
    ~CallbackScope();
    CallbackScope(const CallbackScope &) = delete;
    CallbackScope &operator=(const CallbackScope &) = delete;

    /// True if the calling thread is inside a callback of that player, however deep.
    static bool Contains(const CallbackToken &token);

private:
    const CallbackToken *token_;
    CallbackScope *outer_;
};

}  // namespace vexo
