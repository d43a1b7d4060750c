#include "player/vexo_render_middleware.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "player/test_picture.h"

namespace VexoPlayerNS {
namespace {

class PictureSink : public VexoRenderMiddlewareCallback {
public:
    int onVideoFrame(void **given, int r0, int r1, int r2, int r3, int width, int height, VexoParams params) override {
        ++calls;
        if (whenCalled) whenCalled();
        planes.assign(given, given + 3);
        numbers = {r0, r1, r2, r3, width, height};
        for (const auto &[key, value] : params) measures[key] = nonstd::any_cast<int>(value);
        return -1;  // not read
    }

    std::function<void()> whenCalled;
    int calls = 0;
    std::vector<void *> planes;
    std::vector<int> numbers;
    std::map<std::string, int> measures;
};

TEST(RenderMiddleware, APictureArrivesWithItsOwnPlanesAndItsMeasures) {
    TestPicture picture(1280, 720, 5);
    PictureSink sink;
    VexoRenderMiddleware middleware(&sink);
    EXPECT_EQ(middleware.GetRenderCat(), vexo::kRenderCatVideo);
    EXPECT_TRUE(middleware.Process(picture.info));
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(sink.planes[i], picture.entries[i].data) << "not copied";
    EXPECT_EQ(sink.numbers, (std::vector<int>{0, 0, 0, 0, 1280, 720}));
    EXPECT_EQ(sink.measures, (std::map<std::string, int>{{"video_width", 1280},
                                                         {"video_height", 720},
                                                         {"video_type", 5},
                                                         {"y_stride", 1280},
                                                         {"u_stride", 640},
                                                         {"v_stride", 641}}));
}

TEST(RenderMiddleware, DetachInsideAPictureWaitsForTheOthersOnlyAndLeavesLaterOnes) {
    TestPicture picture(2, 2, 0);
    PictureSink sink;
    VexoRenderMiddleware middleware(&sink);
    sink.whenCalled = [&] {
        if (sink.calls > 1) return middleware.Detach();
        middleware.Process(picture.info);  // nested, as through a pipe that renders in the callback
    };
    EXPECT_TRUE(middleware.Process(picture.info));
    EXPECT_FALSE(middleware.Process(picture.info));
    EXPECT_EQ(sink.calls, 2);
}

TEST(RenderMiddleware, NoPictureArrivesBehindDetach) {
    TestPicture picture(2, 2, 0);
    for (int round = 0; round < 200; ++round) {
        std::atomic<bool> arrived{false};
        auto sink = std::make_unique<PictureSink>();
        sink->whenCalled = [&] { arrived = true; };
        VexoRenderMiddleware middleware(sink.get());
        std::thread pictures([&] {
            while (middleware.Process(picture.info)) continue;
        });
        while (!arrived) std::this_thread::yield();
        middleware.Detach();
        sink.reset();
        pictures.join();
    }
}

}  // namespace
}  // namespace VexoPlayerNS
