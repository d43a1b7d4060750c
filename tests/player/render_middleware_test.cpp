#include "player/vexo_render_middleware.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "player/test_picture.h"

namespace VexoPlayerNS {
namespace {

class PictureSink : public VexoRenderMiddlewareCallback {
public:
    int onVideoFrame(void **planes, int r0, int r1, int r2, int r3, int width, int height, VexoParams params) override {
        ++calls;
        if (whenCalled) whenCalled();
        for (int i = 0; i < 3; ++i) seenPlanes[i] = planes[i];
        reserved = r0 | r1 | r2 | r3;
        seenWidth = width;
        seenHeight = height;
        seenParams = std::move(params);
        return -1;  // not read
    }

    std::function<void()> whenCalled;
    std::atomic<int> calls{0};
    void *seenPlanes[3] = {};
    int reserved = -1;
    int seenWidth = 0;
    int seenHeight = 0;
    VexoParams seenParams;
};

TEST(RenderMiddleware, APictureArrivesWithItsOwnPlanesAndItsMeasures) {
    TestPicture picture(1280, 720, 5);
    PictureSink sink;
    VexoRenderMiddleware middleware(&sink);
    EXPECT_EQ(middleware.GetRenderCat(), vexo::kRenderCatVideo);
    EXPECT_TRUE(middleware.Process(picture.info));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(sink.seenPlanes[i], picture.entries[i].data) << "not copied";
    EXPECT_EQ(sink.reserved, 0);
    EXPECT_EQ(sink.seenWidth, 1280);
    EXPECT_EQ(sink.seenHeight, 720);
    const std::map<std::string, int> expected = {{"video_width", 1280}, {"video_height", 720}, {"video_type", 5},
                                                 {"y_stride", 1280},    {"u_stride", 640},     {"v_stride", 641}};
    ASSERT_EQ(sink.seenParams.size(), expected.size());
    for (const auto &[key, value] : expected) {
        const auto *held = nonstd::any_cast<int>(&sink.seenParams[key]);
        ASSERT_NE(held, nullptr) << key;
        EXPECT_EQ(*held, value) << key;
    }
}

TEST(RenderMiddleware, WithoutACallbackItTakesPictures_DetachedItLeavesThem) {
    TestPicture picture(2, 2, 0);
    VexoRenderMiddleware nobody(nullptr);
    EXPECT_TRUE(nobody.Process(picture.info));
    PictureSink sink;
    VexoRenderMiddleware middleware(&sink);
    middleware.Detach();
    EXPECT_FALSE(middleware.Process(picture.info));
    EXPECT_EQ(sink.calls, 0);
}

TEST(RenderMiddleware, DetachInsideAPictureWaitsForTheOthersOnly) {
    TestPicture picture(2, 2, 0);
    PictureSink sink;
    VexoRenderMiddleware middleware(&sink);
    int depth = 0;
    sink.whenCalled = [&] {
        if (++depth == 1) {
            middleware.Process(picture.info);  // nested, as through a pipe that renders in the callback
        } else {
            middleware.Detach();
        }
    };
    EXPECT_TRUE(middleware.Process(picture.info));
    EXPECT_FALSE(middleware.Process(picture.info));
    EXPECT_EQ(sink.calls, 2);
}

TEST(RenderMiddleware, NoPictureArrivesBehindDetach) {
    for (int round = 0; round < 200; ++round) {
        TestPicture picture(2, 2, 0);
        auto sink = std::make_unique<PictureSink>();
        VexoRenderMiddleware middleware(sink.get());
        std::thread pictures([&] {
            while (middleware.Process(picture.info)) continue;
        });
        while (sink->calls == 0) std::this_thread::yield();
        middleware.Detach();
        sink.reset();
        pictures.join();
    }
}

}  // namespace
}  // namespace VexoPlayerNS
