#pragma once

#include <json/value.h>
#include <sys/types.h>
#include <termios.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace apps {

using namespace std::chrono_literals;

/// How a program ended and what it said.
struct Outcome {
    bool ended = false;  ///< false: it had to be killed
    int code = -1;       ///< exit code, or -signal
    std::string out;
    std::string err;
    std::vector<Json::Value> lines;  ///< of standard output, each as JSON; null for what is none
    Json::Value summary;             ///< of the last line, or null

    std::vector<Json::Value> events(int number) const;
};

struct Setting {
    bool terminal = false;  ///< standard input and error are a terminal of 100 columns
    std::string folder{};   ///< to run in
    std::string display{};  ///< X display; empty: none
};

/// vexoplay as a child process. Every wait has a bound; a child that is still there at the end is killed.
class RunningProgram {
public:
    explicit RunningProgram(std::vector<std::string> arguments, const Setting &setting = {});
    ~RunningProgram();
    RunningProgram(const RunningProgram &) = delete;
    RunningProgram &operator=(const RunningProgram &) = delete;

    void type(const std::string &keys);
    void signal(int number) const;
    /// True as soon as `holds()`, which sees what has been said so far.
    bool waitUntil(const std::function<bool()> &holds, std::chrono::milliseconds patience = 30s);
    bool waitForOut(const std::string &text);
    bool waitForErr(const std::string &text);
    /// True once the process is stopped (^Z).
    bool waitUntilStopped();
    Outcome finish(std::chrono::milliseconds patience = 40s);

    const std::string &out() const { return out_; }
    const std::string &err() const { return err_; }
    void forgetErr() { err_.clear(); }
    termios terminalMode() const;
    /// The reader of standard output goes away.
    void closeOut();

private:
    void pump(int timeoutMs);

    pid_t child_ = -1;
    int outPipe_ = -1;
    int errEnd_ = -1;  ///< pipe, or the terminal's other side
    int kept_ = -1;    ///< the terminal itself
    bool reaped_ = false;
    int status_ = 0;
    std::string out_;
    std::string err_;
};

/// Runs to the end.
Outcome run(std::vector<std::string> arguments);

}  // namespace apps
