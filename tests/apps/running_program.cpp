#include "running_program.h"

#include <fcntl.h>
#include <json/reader.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace apps {
namespace {

using Clock = std::chrono::steady_clock;

Json::Value parsed(const std::string &line) {
    Json::Value value;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    return reader->parse(line.data(), line.data() + line.size(), &value, nullptr) ? value : Json::Value();
}

void setEnvironment(const Setting &setting) {
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    unsetenv("SDL_VIDEODRIVER");
#ifdef __SANITIZE_THREAD__
    setenv("SDL_RENDER_DRIVER", "software", 1);      // Mesa's drawing threads race with each other
    setenv("SDL_FRAMEBUFFER_ACCELERATION", "0", 1);  // nor may the software renderer end in a texture of Mesa's
#endif
    unsetenv("WAYLAND_DISPLAY");
    if (setting.display.empty()) {
        unsetenv("DISPLAY");
    } else {
        setenv("DISPLAY", setting.display.c_str(), 1);
#ifdef __SANITIZE_ADDRESS__
        // A driver that SDL loads and unloads again leaves 112 bytes; a module that is gone has no name to suppress.
        setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
#endif
    }
}

}  // namespace

std::vector<Json::Value> Outcome::events(int number) const {
    std::vector<Json::Value> found;
    for (const Json::Value &line : lines) {
        if (line.isObject() && line.isMember("event") && line["event"].asInt() == number) found.push_back(line);
    }
    return found;
}

RunningProgram::RunningProgram(std::vector<std::string> arguments, const Setting &setting) {
    const char *variable = getenv("VEXO_TEST_OPTIONS");  // as in support/engine_main.cpp
    std::istringstream options(variable ? variable : "");
    for (std::string option; options >> option;) {
        if (option.starts_with("--decoder-threads")) arguments.insert(arguments.begin(), option);
    }
    arguments.insert(arguments.begin(), VEXOPLAY);
    std::vector<char *> raw;
    for (std::string &argument : arguments) raw.push_back(argument.data());
    raw.push_back(nullptr);
    setEnvironment(setting);
    std::array<int, 2> out{};
    std::array<int, 2> err{-1, -1};
    if (pipe2(out.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    if (setting.terminal) {
        winsize size{24, 100, 0, 0};
        child_ = forkpty(&errEnd_, nullptr, nullptr, &size);
    } else {
        if (pipe2(err.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        child_ = fork();
    }
    if (child_ == 0) {
        if (!setting.terminal) {
            dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
            dup2(err[1], STDERR_FILENO);
        }
        dup2(out[1], STDOUT_FILENO);
        if (!setting.folder.empty() && chdir(setting.folder.c_str()) != 0) _exit(126);
        execv(raw[0], raw.data());
        _exit(127);
    }
    close(out[1]);
    outPipe_ = out[0];
    if (setting.terminal) {
        // Keeps the terminal's mode to be looked at when the program has gone.
        kept_ = open(ptsname(errEnd_), O_RDWR | O_NOCTTY | O_CLOEXEC);
    } else {
        close(err[1]);
        errEnd_ = err[0];
    }
    if (child_ < 0) throw std::runtime_error("no process");
}

RunningProgram::~RunningProgram() {
    if (!reaped_) {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }
    if (outPipe_ >= 0) close(outPipe_);
    if (errEnd_ >= 0) close(errEnd_);
    if (kept_ >= 0) close(kept_);
}

void RunningProgram::type(const std::string &keys) {
    if (write(errEnd_, keys.data(), keys.size()) < 0) throw std::runtime_error("the terminal is gone");
}

void RunningProgram::signal(int number) const {
    kill(child_, number);
}

termios RunningProgram::terminalMode() const {
    termios mode{};
    tcgetattr(errEnd_, &mode);
    return mode;
}

void RunningProgram::closeOut() {
    close(outPipe_);
    outPipe_ = -1;
}

void RunningProgram::pump(int timeoutMs) {
    std::array<pollfd, 2> waits{{{outPipe_, POLLIN, 0}, {errEnd_, POLLIN, 0}}};
    if (poll(waits.data(), waits.size(), timeoutMs) <= 0) return;
    const auto take = [](int &descriptor, std::string &text) {
        std::array<char, 65536> bytes;
        const ssize_t count = read(descriptor, bytes.data(), bytes.size());
        if (count > 0) {
            text.append(bytes.data(), static_cast<std::size_t>(count));
        } else {
            close(descriptor);
            descriptor = -1;
        }
    };
    if (waits[0].revents != 0) take(outPipe_, out_);
    if (waits[1].revents != 0) take(errEnd_, err_);
}

bool RunningProgram::waitUntil(const std::function<bool()> &holds, std::chrono::milliseconds patience) {
    const auto end = Clock::now() + patience;
    while (!holds()) {
        if (Clock::now() >= end) return false;
        pump(10);
        if (outPipe_ < 0 && errEnd_ < 0) return holds();
    }
    return true;
}

bool RunningProgram::waitForOut(const std::string &text) {
    return waitUntil([&] { return out_.find(text) != std::string::npos; });
}

bool RunningProgram::waitForErr(const std::string &text) {
    return waitUntil([&] { return err_.find(text) != std::string::npos; });
}

bool RunningProgram::waitUntilStopped() {
    int status = 0;
    return waitUntil([&] { return waitpid(child_, &status, WNOHANG | WUNTRACED) == child_ && WIFSTOPPED(status); });
}

Outcome RunningProgram::finish(std::chrono::milliseconds patience) {
    Outcome outcome;
    const auto end = Clock::now() + patience;
    while (!reaped_ && Clock::now() < end) {
        pump(10);
        reaped_ = waitpid(child_, &status_, WNOHANG) == child_;
    }
    outcome.ended = reaped_;
    if (reaped_) {
        for (std::size_t before = std::string::npos; before != out_.size() + err_.size();) {
            before = out_.size() + err_.size();
            pump(0);
        }
        outcome.code = WIFEXITED(status_) ? WEXITSTATUS(status_) : -WTERMSIG(status_);
    }
    outcome.out = out_;
    outcome.err = err_;
    std::istringstream lines(out_);
    for (std::string line; std::getline(lines, line);) outcome.lines.push_back(parsed(line));
    if (!outcome.lines.empty() && outcome.lines.back().isObject()) outcome.summary = outcome.lines.back()["summary"];
    return outcome;
}

Outcome run(std::vector<std::string> arguments) {
    return RunningProgram(std::move(arguments)).finish();
}

}  // namespace apps
