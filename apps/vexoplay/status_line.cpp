#include "status_line.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace vexoplay {
namespace {

constexpr int kMessagePatienceMs = 200;
constexpr int kShortestBar = 12;  // "[" ten steps "]"

// Columns on the terminal, taking each character of UTF-8 for one.
int widthOf(const std::string &text) {
    return static_cast<int>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string bar(const StatusFacts &facts, int width) {
    const int inner = width - 2;
    const double share = static_cast<double>(facts.positionMs) / static_cast<double>(facts.totalMs);
    const int done = static_cast<int>(std::clamp(share, 0.0, 1.0) * inner);
    std::string text(static_cast<std::size_t>(inner), '-');
    std::fill_n(text.begin(), done, '=');
    if (done < inner) text[static_cast<std::size_t>(done)] = '>';
    return "[" + text + "]";
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::string times(const StatusFacts &facts) {
    std::string text = facts.state + " " + formatTime(facts.positionMs);
    if (facts.totalMs > 0) text += " / " + formatTime(facts.totalMs) + (facts.totalUncertain ? "+" : "");
    return text;
}

std::string stream(const StatusFacts &facts) {
    std::string text = facts.codec;
    if (facts.width > 0) {
        text += (text.empty() ? "" : " ") + std::to_string(facts.width) + "x" + std::to_string(facts.height);
    }
    return text;
}

// The parts in the order in which they stand, and how much each is missed: the lower the rank, the longer it stays.
struct Part {
    std::string text;
    int rank;
    bool kept = false;
};

std::array<Part, 6> partsOf(const StatusFacts &facts) {
    const std::string item = facts.item > 0 ? std::to_string(facts.item) + "/" + std::to_string(facts.items) : "";
    return {{{item, 1},
             {stream(facts), 2},
             {"drop " + std::to_string(facts.dropped), 5},
             {"x" + number(facts.speed), 3},
             {facts.muted ? "muted" : "vol " + std::to_string(facts.volumePercent) + "%", 4},
             {facts.note, 0}}};
}

// A cut in the middle of a character of UTF-8 would print rubbish.
std::string cut(std::string text, int columns) {
    while (widthOf(text) > columns) {
        while ((static_cast<unsigned char>(text.back()) & 0xC0) == 0x80) text.pop_back();
        text.pop_back();
    }
    return text;
}

int terminalColumns() {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
    return size.ws_col;
}

// Passes over a standard error that takes nothing for `timeoutMs`.
void put(const std::string &text, int timeoutMs) {
    pollfd ready{STDERR_FILENO, POLLOUT, 0};
    if (poll(&ready, 1, timeoutMs) != 1 || (ready.revents & POLLOUT) == 0) return;
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

std::string formatTime(int64_t ms) {
    const long long seconds = std::max<int64_t>(ms, 0) / 1000;
    char text[48];
    if (seconds >= 3600) {
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60, seconds % 60);
    } else {
        std::snprintf(text, sizeof text, "%lld:%02lld", seconds / 60, seconds % 60);
    }
    return text;
}

std::string formatStatus(const StatusFacts &facts, int columns) {
    const int room = std::max(columns - 1, 0);
    std::string line = times(facts);
    int left = room - widthOf(line);
    std::array<Part, 6> parts = partsOf(facts);
    for (int rank = 0; rank < static_cast<int>(parts.size()); ++rank) {
        for (Part &part : parts) {
            if (part.rank != rank || part.text.empty() || widthOf(part.text) + 2 > left) continue;
            part.kept = true;
            left -= widthOf(part.text) + 2;
        }
    }
    if (facts.totalMs > 0 && left >= kShortestBar + 1) line += " " + bar(facts, std::min(left - 1, 60));
    for (const Part &part : parts) {
        if (part.kept) line += "  " + part.text;
    }
    return cut(std::move(line), room);
}

std::string printable(const std::string &text) {
    std::string result = text;
    for (std::size_t i = 0; i < result.size(); ++i) {
        const auto byte = static_cast<unsigned char>(result[i]);
        if (byte < 0x20 || byte == 0x7F) result[i] = '?';
        // U+0080 to U+009F, the control characters of eight bits, are C2 80 to C2 9F.
        if (byte == 0xC2 && i + 1 < result.size() && static_cast<unsigned char>(result[i + 1]) < 0xA0) {
            result[i] = result[i + 1] = '?';
        }
    }
    return result;
}

StatusLine::StatusLine() : terminal_(isatty(STDERR_FILENO) == 1) {}

void StatusLine::show(const StatusFacts &facts, int64_t nowUs) {
    if (!terminal_) return;
    put("\r" + formatStatus(facts, terminalColumns()) + "\x1b[K", 0);
    shown_ = true;
    nextUs_ = nowUs + kPeriodUs;
}

void StatusLine::message(const std::string &text) {
    clear();
    put("vexoplay: " + printable(text) + "\n", kMessagePatienceMs);
    nextUs_ = 0;
}

void StatusLine::clear() {
    if (shown_) put("\r\x1b[K", 0);
    shown_ = false;
}

}  // namespace vexoplay
