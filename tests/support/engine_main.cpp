// The main function of the test programs that link the engine.
#include <gmock/gmock.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "base/oriplayer/module.h"

namespace {

/// An engine property that whoever runs the tests may choose: --name=VALUE, or a variable of the environment, which
/// ctest passes on. Without either the engine's default holds.
struct Choice {
    std::string option;
    const char *variable;
    int property;
    std::string value;
};

Choice choices[] = {{"--decoder-threads=", "VEXO_TEST_DECODER_THREADS", oriplayer::kPropertyDecoderThreads, ""}};

/// False if the engine refuses one of the values.
bool setProperties() {
    bool taken = true;
    for (const Choice &each : choices) {
        if (each.value.empty() || oriplayer::setProperty(each.property, each.value.c_str()) == 0) continue;
        std::cerr << each.option << each.value << ": the engine refuses this value\n";
        taken = false;
    }
    return taken;
}

/// Some tests restore the engine's defaults; the next test must not run with them.
class SetBeforeEachTest : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo &) override { setProperties(); }
};

bool readOption(const std::string &argument) {
    for (Choice &each : choices) {
        if (argument.rfind(each.option, 0) != 0) continue;
        each.value = argument.substr(each.option.size());
        return true;
    }
    std::cerr << argument << ": unknown option; besides those of GoogleTest:";
    for (const Choice &each : choices) std::cerr << " " << each.option << "N";
    std::cerr << "\n";
    return false;
}

}  // namespace

int main(int argc, char **argv) {
    testing::InitGoogleMock(&argc, argv);  // removes its own options
    for (Choice &each : choices) {
        if (const char *value = std::getenv(each.variable)) each.value = value;
    }
    for (int i = 1; i < argc; ++i) {
        if (!readOption(argv[i])) return 2;
    }
    if (!setProperties()) return 2;
    testing::UnitTest::GetInstance()->listeners().Append(new SetBeforeEachTest);
    return RUN_ALL_TESTS();
}
