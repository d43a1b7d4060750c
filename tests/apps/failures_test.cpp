#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <httplib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include "running_program.h"
#include "support/clips.h"

namespace apps {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

// A port of this machine that takes connections and never says a word, or, closed again, that refuses them.
class SilentPort {
public:
    SilentPort() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        ::bind(socket_, reinterpret_cast<sockaddr *>(&address), size);
        ::listen(socket_, 16);
        ::getsockname(socket_, reinterpret_cast<sockaddr *>(&address), &size);
        port_ = ntohs(address.sin_port);
    }
    ~SilentPort() { close(); }
    void close() {
        if (socket_ >= 0) ::close(socket_);
        socket_ = -1;
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/clip.mp4"; }

private:
    int socket_;
    int port_ = 0;
};

class Failures : public testing::Test {
protected:
    struct Case {
        std::string url;
        std::string text;  ///< FFmpeg's
    };

    void SetUp() override {
        folder_ = fs::temp_directory_path() / ("vexoplay_failures_" + std::to_string(getpid()));
        fs::create_directories(folder_ / "folder.mp4");
        std::ofstream(folder_ / "text.mp4") << "this is not a film\n";
        std::ofstream(folder_ / "empty.mp4").flush();
        refusing_.close();
        server_.Get("/.*", [](const httplib::Request &, httplib::Response &response) { response.status = 404; });
        const int port = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        cases_ = {{(folder_ / "missing.mp4").string(), "No such file or directory"},
                  {(folder_ / "text.mp4").string(), "Invalid data"},
                  {(folder_ / "folder.mp4").string(), "Is a directory"},
                  {(folder_ / "empty.mp4").string(), "Invalid data"},
                  {"http://127.0.0.1:" + std::to_string(port) + "/none.mp4", "404"},
                  {refusing_.url(), "Connection refused"},
                  {silent_.url(), "timed out"}};
    }
    void TearDown() override {
        server_.stop();
        thread_.join();
        fs::remove_all(folder_);
    }

    fs::path folder_;
    SilentPort silent_;
    SilentPort refusing_;
    httplib::Server server_;
    std::thread thread_;
    std::vector<Case> cases_;
    const std::string good_ = support::clip("video_only.mp4");
    const int goodPictures_ = support::expected("video_only.mp4").pictures;
};

TEST_F(Failures, AloneNothingIsPlayable_AndTheMessageNamesItemAttemptAndReason) {
    std::vector<std::unique_ptr<RunningProgram>> programs;
    for (const Case &c : cases_) {
        programs.push_back(std::make_unique<RunningProgram>(std::vector<std::string>{"--no-window", "--json", c.url}));
    }
    for (std::size_t i = 0; i < cases_.size(); ++i) {
        const Outcome outcome = programs[i]->finish(12s);  // the person waits 10 s for an item at most
        EXPECT_TRUE(outcome.ended) << cases_[i].url;
        EXPECT_EQ(outcome.code, 2) << cases_[i].url;
        for (const std::string &part :
             {std::string("item 1 of 1"), cases_[i].url, std::string("opening"), cases_[i].text}) {
            EXPECT_THAT(outcome.err, HasSubstr(part));
        }
        EXPECT_EQ(outcome.summary["exit"], "error");
        ASSERT_EQ(outcome.summary["errors"].size(), 1u) << cases_[i].url;
        EXPECT_EQ(outcome.summary["errors"][0]["event"], 501);
        EXPECT_THAT(outcome.summary["errors"][0]["text"].asString(), HasSubstr(cases_[i].text));
        EXPECT_EQ(outcome.summary["bounds"].size(), 1u) << "it was entered";
    }
}

TEST_F(Failures, InTheMiddleTheRestPlaysOn_InPeriodsAndInOneMixedPeriod) {
    std::vector<std::unique_ptr<RunningProgram>> programs;
    for (const Case &c : cases_) {
        for (const char *shape : {"--json", "--mixed"}) {  // --json twice is the same as once
            programs.push_back(std::make_unique<RunningProgram>(
                std::vector<std::string>{"--no-window", "--untimed", "--json", shape, good_, c.url, c.url, good_}));
        }
    }
    for (std::size_t i = 0; i < programs.size(); ++i) {
        const Case &c = cases_[i / 2];
        const Outcome outcome = programs[i]->finish(60s);  // two silent servers, each once asked and once entered
        EXPECT_EQ(outcome.code, 3) << c.url << outcome.err;
        const Json::Value &bounds = outcome.summary["bounds"];
        ASSERT_EQ(bounds.size(), 4u) << c.url << i % 2;
        EXPECT_EQ(bounds[0]["pictures"], goodPictures_);
        EXPECT_EQ(bounds[1]["pictures"], 0);
        EXPECT_EQ(bounds[3]["pictures"], goodPictures_);
        ASSERT_EQ(outcome.summary["errors"].size(), 2u) << c.url;
        EXPECT_EQ(outcome.summary["errors"][1][i % 2 == 0 ? "period" : "source"], 2);
        EXPECT_THAT(outcome.err, HasSubstr("item 2 of 4"));
        EXPECT_THAT(outcome.err, HasSubstr("item 3 of 4"));
    }
}

TEST_F(Failures, AListOfNothingButFailuresEndsEvenIfItIsToBeRepeated) {
    const Outcome outcome = run({"--no-window", "--loop", "--json", cases_[0].url, cases_[1].url});
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.summary["bounds"].size(), 2u);
}

TEST_F(Failures, AReaderThatLeavesEndsTheProgramWithAReason) {
    RunningProgram program({"--no-window", "--json", "--loop", good_});
    ASSERT_TRUE(program.waitForOut("\"event\":1017"));
    program.closeOut();
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.code, 5);
    EXPECT_THAT(outcome.err, HasSubstr("cannot write to standard output: Broken pipe"));
}

}  // namespace
}  // namespace apps
