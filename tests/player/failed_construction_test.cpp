// In a program of its own: it puts itself between the library and the system's way to make threads.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <system_error>

#include "fake/scripted_engine.h"
#include "interface/vexo_player.h"
#include "player/test_picture.h"
#include "render/render_manager.h"

namespace {
std::atomic<int> sThreadsAllowed{1000};
}

extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*function)(void *),
                              void *argument) {
    if (--sThreadsAllowed < 0) return EAGAIN;
    static const auto create = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return create(thread, attributes, function, argument);
}

namespace VexoPlayerNS {
namespace {

TEST(FailedConstruction, LeavesNoMiddlewareAndNoPlayerBehind) {
    TestPicture picture(2, 2, 0);
    bool created = false;
    int failures = 0;
    for (int allowed = 0; !created; ++allowed) {
        sThreadsAllowed = allowed;
        try {
            created = IVexoPlayer::create(nullptr, {}) != nullptr;
        } catch (const std::system_error &) {
            ++failures;
        }
        sThreadsAllowed = 1000;
        vexo::RenderSetup setup;
        auto *pipe = vexo::RenderManager::Instance().AcquirePipe(setup);
        EXPECT_EQ(pipe->Render(picture.info), 1) << allowed << " threads: a middleware stayed";
        vexo::RenderManager::Instance().ReleasePipe(pipe);
    }
    EXPECT_GE(failures, 1);
}

}  // namespace
}  // namespace VexoPlayerNS
