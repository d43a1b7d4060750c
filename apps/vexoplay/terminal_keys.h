#pragma once

#include <string_view>
#include <vector>

#include "key.h"

namespace vexoplay {

/// Turns what a terminal sends into keys. Arrow keys come as three bytes, possibly in several reads.
class KeyDecoder {
public:
    std::vector<Key> decode(std::string_view bytes);

private:
    enum class Place { kText, kEscape, kSequence } place_ = Place::kText;
};

/// Keys from the terminal on standard input, without echo and without waiting for a line, as long as the object lives.
/// Where standard input is no terminal, or belongs to another job, there are no keys.
/// Threads:  the main thread; restoreTerminal() on any, and in signal handlers.
class TerminalKeys {
public:
    TerminalKeys();
    ~TerminalKeys();
    TerminalKeys(const TerminalKeys &) = delete;
    TerminalKeys &operator=(const TerminalKeys &) = delete;

    /// To wait on; -1 if there are no keys.
    int descriptor() const { return open_ ? 0 : -1; }
    /// What has been typed; does not wait.
    std::vector<Key> read();
    /// Sets the terminal up again after a stop of the process.
    void resume();

private:
    bool open_ = false;
    KeyDecoder decoder_;
};

/// Gives the terminal back as it was found; does nothing the second time. Safe in a signal handler.
void restoreTerminal();

}  // namespace vexoplay
