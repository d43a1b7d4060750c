#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "base/oriplayer/play_list.h"
#include "playlist/local_duration.h"
#include "playlist/local_file.h"
#include "support/temporary_folder.h"

namespace {
std::atomic<int> asked{0};
}

// The lists only declare it; here it is a file whose length is always the same.
double oriplayer::probeLocalDuration(const std::string &) {
    ++asked;
    return 1.25;
}

namespace {

using namespace oriplayer;

struct LocalFiles : testing::Test {
    LocalFiles() { asked = 0; }

    const support::TemporaryFolder folder;
    const std::string clip = folder.write("a clip.mp4", "x");
};

TEST_F(LocalFiles, AUrlOfAnyFormFindsItsFile) {
    const std::string escaped = folder / "a%20clip.mp4";
    for (const std::string &url : {clip, "file:" + clip, "file://" + clip, "file://localhost" + escaped}) {
        EXPECT_EQ(localFile(url).path, clip) << url;
    }
    EXPECT_EQ(localFile(folder.path()).kind, LocalKind::kDirectory);
    for (const char *url : {"", "file:", "file://", "http://host/a.mp4", "/nowhere/a%2"}) {
        EXPECT_EQ(localFile(url).kind, LocalKind::kNone) << url;
    }
}

TEST_F(LocalFiles, AnUndeclaredLengthIsAskedOnceWhoeverAsks) {
    auto source = ISource::create(clip.c_str(), 0.0);
    std::vector<std::thread> askers;
    for (int i = 0; i < 4; ++i) {
        askers.emplace_back([&] {
            double seconds = 0.0;
            EXPECT_EQ(source->getDuration(0, &seconds), 0);
            EXPECT_EQ(seconds, 1.25);
        });
    }
    for (auto &asker : askers) asker.join();
    EXPECT_EQ(asked, 1);
}

TEST_F(LocalFiles, ADeclaredLengthAndANetworkSourceAskNoFile) {
    auto source = ISource::create(clip.c_str(), 3.0);
    EXPECT_EQ(source->addUrl("http://host/a.mp4", 0.0), 2);
    EXPECT_EQ(source->addUrl(nullptr, 1.0), -1);
    double first = -1.0, second = -1.0, third = -1.0;
    EXPECT_EQ(source->getDuration(0, &first), 0);
    EXPECT_EQ(source->getDuration(1, &second), 0);
    EXPECT_EQ(source->getDuration(2, &third), -1);
    EXPECT_EQ(first, 3.0);
    EXPECT_EQ(second, 0.0);
    EXPECT_EQ(asked, 0);
}

TEST(Period, HeadersAreCopiedInBothDirections) {
    auto period = IPeriod::create();
    EXPECT_EQ(period->getHeaders(), nullptr);
    auto headers = std::make_shared<StringMap>();
    headers->add("key", "value");
    period->setHeaders(headers);
    headers->clear();
    auto given = period->getHeaders();
    EXPECT_STREQ(given->valueFor("key"), "value");
    given->clear();
    EXPECT_STREQ(period->getHeaders()->valueFor("key"), "value");
}

}  // namespace
