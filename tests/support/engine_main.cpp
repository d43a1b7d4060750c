// The main function of the test programs that link the engine.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "base/oriplayer/module.h"

namespace {

/// Properties of the engine that an option sets, as in --decoder-threads=4.
const std::map<std::string, int> kOptions{{"--cores", oriplayer::kPropertyCores},
                                          {"--decoder-threads", oriplayer::kPropertyDecoderThreads}};

std::map<int, std::string> sChosen;

/// Some tests restore the engine's defaults; the next test must not run with them.
class SetBeforeEachTest : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo &) override {
        for (const auto &[property, value] : sChosen) oriplayer::setProperty(property, value.c_str());
    }
};

bool choose(const std::string &argument) {
    const std::size_t equals = std::min(argument.find('='), argument.size() - 1);
    const auto option = kOptions.find(argument.substr(0, equals));
    const std::string value = argument.substr(equals + 1);
    if (option != kOptions.end() && oriplayer::setProperty(option->second, value.c_str()) == 0) {
        sChosen[option->second] = value;
        return true;
    }
    std::cerr << argument << ": unknown option, or a value that the engine refuses. Options, besides GoogleTest's:";
    for (const auto &each : kOptions) std::cerr << " " << each.first << "=N";
    std::cerr << "\n";
    return false;
}

}  // namespace

int main(int argc, char **argv) {
    testing::InitGoogleMock(&argc, argv);  // removes its own options
    std::vector<std::string> arguments(argv + 1, argv + argc);
    // ctest passes no options on, but the environment. What is on the command line counts more.
    const char *variable = std::getenv("VEXO_TEST_OPTIONS");
    std::istringstream environment(variable ? variable : "");
    arguments.insert(arguments.begin(), std::istream_iterator<std::string>(environment), {});
    if (!std::all_of(arguments.begin(), arguments.end(), choose)) return 2;
    testing::UnitTest::GetInstance()->listeners().Append(new SetBeforeEachTest);
    return RUN_ALL_TESTS();
}
