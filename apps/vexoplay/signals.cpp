#include "signals.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <stdexcept>

#include "options.h"
#include "terminal_keys.h"

namespace vexoplay {
namespace {

static_assert(std::atomic<int>::is_always_lock_free);
std::atomic<int> wakeDescriptor{-1};
std::atomic<int> endingSignal{0};
std::atomic<int> suspends{0};
std::atomic<int> lastResortCode{0};

void wake() {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wakeDescriptor, &one, sizeof one);
}

extern "C" void onEnd(int number) {
    const int kept = errno;
    int none = 0;
    if (!endingSignal.compare_exchange_strong(none, number) && number == SIGINT) {
        restoreTerminal();
        _exit(static_cast<int>(ExitCode::kSignal));
    }
    wake();
    errno = kept;
}

extern "C" void onSuspend(int) {
    const int kept = errno;
    ++suspends;
    wake();
    errno = kept;
}

extern "C" void onFatal(int number) {  // SA_RESETHAND: raised again it takes its usual course
    restoreTerminal();
    raise(number);
}

extern "C" void onLastResort(int) {
    restoreTerminal();
    _exit(lastResortCode);
}

void handle(int number, void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

// What was ignored by whoever started the process (nohup) stays ignored.
void handleUnlessIgnored(int number, void (*handler)(int)) {
    struct sigaction found {};
    sigaction(number, nullptr, &found);
    if (found.sa_handler != SIG_IGN) handle(number, handler, SA_RESTART);
}

}  // namespace

Signals::Signals() {
    wakeDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeDescriptor < 0) throw std::runtime_error("no descriptor left for signals");
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) handleUnlessIgnored(number, onEnd);
    handleUnlessIgnored(SIGTSTP, onSuspend);
    for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGQUIT}) {
        handle(number, onFatal, static_cast<int>(SA_RESETHAND));
    }
    handle(SIGPIPE, SIG_IGN, 0);
}

int Signals::descriptor() const {
    return wakeDescriptor;
}

void Signals::drain() {
    uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = ::read(wakeDescriptor, &count, sizeof count);
}

int Signals::ending() const {
    return endingSignal;
}

bool Signals::takeSuspend() {
    return suspends.exchange(0) > 0;
}

void Signals::suspend() {
    raise(SIGSTOP);
}

void armLastResort(unsigned int seconds, int exitCode) {
    lastResortCode = exitCode;
    handle(SIGALRM, onLastResort, 0);
    alarm(seconds);
}

}  // namespace vexoplay
