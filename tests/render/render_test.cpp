#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "render/render_manager.h"
#include "render/video_render_pipe.h"
#include "render/video_render_pipeline_wrapper.h"

namespace vexo {
namespace {

constexpr auto kOtherCat = static_cast<RenderCat>(1);

/// Writes its name into a log and answers as told.
class NamedMiddleware final : public IRenderMiddleware {
public:
    NamedMiddleware(std::string &log, char name, bool takes, RenderCat cat = kRenderCatVideo)
        : log_(log), name_(name), takes_(takes), cat_(cat) {}
    bool Process(RenderOutputInfo &info) override {
        log_ += name_;
        seen_ = info;
        return takes_;
    }
    RenderCat GetRenderCat() override { return cat_; }

    RenderOutputInfo seen_{};

private:
    std::string &log_;
    const char name_;
    const bool takes_;
    const RenderCat cat_;
};

class RenderTest : public testing::Test {
protected:
    std::shared_ptr<NamedMiddleware> middleware(char name, bool takes, RenderCat cat = kRenderCatVideo) {
        return std::make_shared<NamedMiddleware>(log_, name, takes, cat);
    }
    std::shared_ptr<NamedMiddleware> registered(char name, bool takes, RenderCat cat = kRenderCatVideo) {
        auto entry = middleware(name, takes, cat);
        RenderManager::Instance().AddMiddleware(entry);
        registered_.push_back(entry);
        return entry;
    }
    ~RenderTest() override {
        for (const auto &entry : registered_) RenderManager::Instance().RemoveMiddleware(entry);
    }
    std::string takeLog() { return std::exchange(log_, ""); }

    oriplayer::VideoPicture picture_{};
    RenderOutputInfo info_{kRenderCatVideo, {}, &picture_};
    std::string log_;
    std::vector<std::shared_ptr<IRenderMiddleware>> registered_;
};

TEST_F(RenderTest, APictureGoesToTheFirstMiddlewareThatTakesIt) {
    VideoRenderPipe pipe;
    EXPECT_EQ(pipe.Render(info_), 1) << "nobody there";
    auto leaving = middleware('a', false);
    auto taking = middleware('b', true);
    pipe.AddMiddleware(leaving);
    pipe.AddMiddleware(nullptr);
    EXPECT_EQ(pipe.Render(info_), 1);
    pipe.AddMiddleware(taking);
    pipe.AddMiddleware(leaving);
    EXPECT_EQ(pipe.Render(info_), 0);
    EXPECT_EQ(takeLog(), "aab");

    pipe.RemoveMiddleware(leaving);
    pipe.RemoveMiddleware(nullptr);
    VideoRenderPipe copy = pipe;
    pipe.RemoveMiddleware(taking);
    EXPECT_EQ(pipe.Render(info_), 1) << "the second entry of the same pointer is still there";
    EXPECT_EQ(copy.Render(info_), 0);
    EXPECT_EQ(takeLog(), "ab");
}

TEST_F(RenderTest, APipeRefusesWhatIsNoPicture) {
    VideoRenderPipe pipe;
    pipe.AddMiddleware(middleware('a', true));
    RenderOutputInfo otherCategory{kOtherCat, {}, &picture_};
    RenderOutputInfo noPicture{kRenderCatVideo, {}, nullptr};
    EXPECT_EQ(pipe.Render(otherCategory), -1);
    EXPECT_EQ(pipe.Render(noPicture), -1);
    EXPECT_EQ(takeLog(), "");
}

TEST_F(RenderTest, APipeHoldsWhatWasRegisteredForItsCategory) {
    registered('a', false);
    registered('x', true, kOtherCat);
    auto b = registered('b', false);
    RenderManager::Instance().AddMiddleware(b);
    RenderSetup setup;
    IRenderPipe *pipe = RenderManager::Instance().AcquirePipe(setup);
    RenderManager::Instance().RemoveMiddleware(b);  // one of two entries, and not from the pipe
    registered('c', false);                         // too late for the pipe
    EXPECT_EQ(pipe->Render(info_), 1);
    EXPECT_EQ(takeLog(), "abb");

    RenderManager::Instance().DetachMiddleware(pipe);
    EXPECT_EQ(pipe->Render(info_), 1);
    EXPECT_EQ(takeLog(), "b") << "what left the register is the pipe's own until its end";
    RenderManager::Instance().AttachMiddleware(static_cast<RenderCat>(2), pipe);
    RenderManager::Instance().AttachMiddleware(kRenderCatVideo, pipe);
    pipe->Render(info_);
    EXPECT_EQ(takeLog(), "babc");
    RenderManager::Instance().ReleasePipe(pipe);
    EXPECT_EQ(b.use_count(), 3) << "here, in the register, in the fixture: the pipe's are gone";
}

TEST_F(RenderTest, TheWrapperHandsTheWholeRecordOn) {
    auto taking = registered('a', true);
    VideoRenderPipelineWrapper wrapper;
    oriplayer::RenderRecord record{};
    for (uint32_t i = 0; i < 10; ++i) record.words[i] = i + 1;
    record.picture = &picture_;
    EXPECT_EQ(wrapper.Render(&record), 0);
    EXPECT_EQ(taking->seen_.cat, kRenderCatVideo);
    EXPECT_THAT(taking->seen_.words, testing::ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10));
    EXPECT_EQ(taking->seen_.picture, &picture_);
    record.picture = nullptr;
    EXPECT_EQ(wrapper.Render(&record), 0) << "the engine does not see whether a picture was taken";
}

}  // namespace
}  // namespace vexo
