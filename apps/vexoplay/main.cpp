#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "application.h"
#include "options.h"
#include "play_list_file.h"

namespace vexoplay {
namespace {

// Libraries print to standard output as they like. The player keeps a duplicate for what belongs there and sends all
// else to standard error. Descriptors 0 to 2 that the caller has closed are opened, so that nothing else takes them.
int takeStandardOutput() {
    for (int descriptor = ::open("/dev/null", O_RDWR); descriptor >= 0; descriptor = ::open("/dev/null", O_RDWR)) {
        if (descriptor <= STDERR_FILENO) continue;
        ::close(descriptor);
        break;
    }
    const int output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    return output;
}

// Empty with a message printed if there is nothing to play.
std::vector<ListedItem> collectItems(const Options &options) {
    std::vector<ListedItem> items;
    for (const std::string &input : options.inputs) items.push_back({input, {}, 0});
    if (!options.playList.empty()) {
        PlayListText list = readPlayList(options.playList);
        if (!list.error.empty() || (list.items.empty() && items.empty())) {
            std::fprintf(stderr, "vexoplay: play list \"%s\": %s\n", options.playList.c_str(),
                         list.error.empty() ? "no items in it" : list.error.c_str());
            return {};
        }
        items.insert(items.end(), list.items.begin(), list.items.end());
    }
    return items;
}

ExitCode run(int argc, char **argv) {
    ParsedOptions parsed = parseOptions(argc, argv);
    if (!parsed.options) {
        std::fputs(parsed.text.c_str(), parsed.code == ExitCode::kPlayed ? stdout : stderr);
        return std::fflush(stdout) == 0 ? parsed.code : ExitCode::kInternal;
    }
    const int output = takeStandardOutput();
    std::vector<ListedItem> items = collectItems(*parsed.options);
    if (items.empty()) return ExitCode::kNothingPlayable;
    return Application(std::move(*parsed.options), std::move(items), output).run();
}

}  // namespace
}  // namespace vexoplay

int main(int argc, char **argv) {
    try {
        return static_cast<int>(vexoplay::run(argc, argv));
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "vexoplay: internal fault: %s\n", exception.what());
    }
    return static_cast<int>(vexoplay::ExitCode::kInternal);
}
