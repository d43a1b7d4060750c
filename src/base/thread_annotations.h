#pragma once

#include <mutex>

// Lock annotations that clang checks (-Wthread-safety) and other compilers skip.
#if defined(__clang__)
#define VEXO_ANNOTATE(x) __attribute__((x))
#else
#define VEXO_ANNOTATE(x)
#endif
#define VEXO_CAPABILITY(name) VEXO_ANNOTATE(capability(name))
#define VEXO_SCOPED_CAPABILITY VEXO_ANNOTATE(scoped_lockable)
#define VEXO_GUARDED_BY(m) VEXO_ANNOTATE(guarded_by(m))
#define VEXO_REQUIRES(...) VEXO_ANNOTATE(requires_capability(__VA_ARGS__))
#define VEXO_EXCLUDES(...) VEXO_ANNOTATE(locks_excluded(__VA_ARGS__))
#define VEXO_ACQUIRE(...) VEXO_ANNOTATE(acquire_capability(__VA_ARGS__))
#define VEXO_RELEASE(...) VEXO_ANNOTATE(release_capability(__VA_ARGS__))
#define VEXO_TRY_ACQUIRE(...) VEXO_ANNOTATE(try_acquire_capability(__VA_ARGS__))
#define VEXO_NO_THREAD_SAFETY_ANALYSIS VEXO_ANNOTATE(no_thread_safety_analysis)

namespace vexo {

/// A standard mutex that carries annotations; works with std::condition_variable_any and MutexLock.
template <typename Standard> class VEXO_CAPABILITY("mutex") BasicMutex {
public:
    void lock() VEXO_ACQUIRE() { mutex_.lock(); }
    void unlock() VEXO_RELEASE() { mutex_.unlock(); }
    bool try_lock() VEXO_TRY_ACQUIRE(true) { return mutex_.try_lock(); }

private:
    Standard mutex_;
};
using Mutex = BasicMutex<std::mutex>;
using RecursiveMutex = BasicMutex<std::recursive_mutex>;

/// Holds a Mutex or RecursiveMutex for a scope; can be given back and taken again inside it.
template <typename M> class VEXO_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(M &mutex) VEXO_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~MutexLock() VEXO_RELEASE() {
        if (held_) mutex_.unlock();
    }
    void unlock() VEXO_RELEASE() {
        held_ = false;
        mutex_.unlock();
    }
    void lock() VEXO_ACQUIRE() {
        mutex_.lock();
        held_ = true;
    }
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

private:
    M &mutex_;
    bool held_ = true;
};

}  // namespace vexo
