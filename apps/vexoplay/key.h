#pragma once

namespace vexoplay {

/// What the person at the keyboard asks for.
enum class Key {
    kNone,
    kPause,
    kBack5,
    kForward5,
    kBack60,
    kForward60,
    kPrevious,
    kNext,
    kSlower,
    kFaster,
    kQuieter,
    kLouder,
    kMute,
    kSubtitles,
    kFullScreen,
    kStill,
    kInfo,
    kInterrupt,
    kNetwork,
    kChange,
    kQuit,
};

/// The key that a printable character stands for, the same in window and terminal.
constexpr Key keyOfCharacter(char character) {
    switch (character) {
        case ' ':
            return Key::kPause;
        case '<':
            return Key::kPrevious;
        case '>':
            return Key::kNext;
        case '[':
            return Key::kSlower;
        case ']':
            return Key::kFaster;
        case '9':
            return Key::kQuieter;
        case '0':
            return Key::kLouder;
        case 'm':
            return Key::kMute;
        case 'v':
            return Key::kSubtitles;
        case 'f':
            return Key::kFullScreen;
        case 's':
            return Key::kStill;
        case 'i':
            return Key::kInfo;
        case 'a':
            return Key::kInterrupt;
        case 'n':
            return Key::kNetwork;
        case 'c':
            return Key::kChange;
        case 'q':
            return Key::kQuit;
        default:
            return Key::kNone;
    }
}

}  // namespace vexoplay
