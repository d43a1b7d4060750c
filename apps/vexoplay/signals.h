#pragma once

namespace vexoplay {

/// Signals as something to wait on. INT, TERM and HUP ask for an orderly end; an INT behind one of them ends the
/// process at once with exit code 4. TSTP asks for a stop. What ends the process for good (SEGV, ABRT, ...) restores
/// the terminal first. PIPE is ignored: writes report it.
/// Threads:  the main thread. One object a process.
class Signals {
public:
    Signals();
    Signals(const Signals &) = delete;
    Signals &operator=(const Signals &) = delete;

    /// Readable while a signal waits.
    int descriptor() const;
    /// Empties the descriptor.
    void drain();
    /// The first of INT, TERM, HUP that came, else 0.
    int ending() const;
    /// True once for each TSTP.
    bool takeSuspend();
    /// Stops the process and returns when it goes on. The terminal is to be restored before and set up behind.
    void suspend();
};

/// From now on the process ends with `exitCode` after `seconds`, whatever it waits for; the terminal is restored.
void armLastResort(unsigned int seconds, int exitCode);

}  // namespace vexoplay
