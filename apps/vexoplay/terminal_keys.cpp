#include "terminal_keys.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>

namespace vexoplay {
namespace {

// For the signal handlers: set once before the first change of the terminal, then read only.
termios foundMode;
std::atomic<bool> changed{false};
static_assert(std::atomic<bool>::is_always_lock_free);

bool mayUseTerminal() {
    return isatty(STDIN_FILENO) == 1 && tcgetpgrp(STDIN_FILENO) == getpgrp();
}

void enterKeyMode() {
    termios mode = foundMode;
    mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);  // ISIG stays: ^C and ^Z remain signals
    mode.c_cc[VMIN] = 0;
    mode.c_cc[VTIME] = 0;
    changed = true;
    tcsetattr(STDIN_FILENO, TCSANOW, &mode);
}

Key keyOfSequence(char last) {
    switch (last) {
        case 'A':
            return Key::kForward60;
        case 'B':
            return Key::kBack60;
        case 'C':
            return Key::kForward5;
        case 'D':
            return Key::kBack5;
        default:
            return Key::kNone;
    }
}

}  // namespace

std::vector<Key> KeyDecoder::decode(std::string_view bytes) {
    std::vector<Key> keys;
    for (const char byte : bytes) {
        Key key = Key::kNone;
        if (byte == '\x1b') {
            place_ = Place::kEscape;
        } else if (place_ == Place::kEscape && (byte == '[' || byte == 'O')) {
            place_ = Place::kSequence;
        } else if (place_ == Place::kSequence) {
            if (byte < '@' || byte > '~') continue;  // parameters such as "1;5" of a key with Ctrl
            key = keyOfSequence(byte);
            place_ = Place::kText;
        } else {
            key = place_ == Place::kText ? keyOfCharacter(byte) : Key::kNone;
            place_ = Place::kText;
        }
        if (key != Key::kNone) keys.push_back(key);
    }
    return keys;
}

TerminalKeys::TerminalKeys() {
    open_ = mayUseTerminal() && tcgetattr(STDIN_FILENO, &foundMode) == 0;
    if (!open_) return;
    std::atexit(restoreTerminal);
    enterKeyMode();
}

TerminalKeys::~TerminalKeys() {
    restoreTerminal();
}

void TerminalKeys::resume() {
    if (open_ && mayUseTerminal()) enterKeyMode();
}

std::vector<Key> TerminalKeys::read() {
    pollfd ready{STDIN_FILENO, POLLIN, 0};
    if (!open_ || poll(&ready, 1, 0) <= 0) return {};
    std::array<char, 256> bytes;
    const ssize_t count = (ready.revents & POLLIN) != 0 ? ::read(STDIN_FILENO, bytes.data(), bytes.size()) : -1;
    if (count > 0) return decoder_.decode({bytes.data(), static_cast<std::size_t>(count)});
    open_ = false;  // hung up: polling on would return at once for ever
    return {};
}

void restoreTerminal() {
    if (changed.exchange(false)) tcsetattr(STDIN_FILENO, TCSANOW, &foundMode);
}

}  // namespace vexoplay
