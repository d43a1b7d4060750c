// Commands that run out of memory before they call the engine: what they were to change is as before or as after, and
// the timeline goes on.
#include <cstdlib>
#include <new>
#include <utility>

#include "timeline/timeline_fixture.h"

namespace {

thread_local int sLeft = -1;  // allocations of this thread that succeed; below 0 all do

void *Allocate(std::size_t size) {
    if (sLeft == 0) throw std::bad_alloc();
    if (sLeft > 0) --sLeft;
    void *memory = std::malloc(size > 0 ? size : 1);
    if (!memory) throw std::bad_alloc();
    return memory;
}

}  // namespace

// Not inlined: the compiler would take malloc and free for the wrong pair.
[[gnu::noinline]] void *operator new(std::size_t size) {
    return Allocate(size);
}
[[gnu::noinline]] void operator delete(void *memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void *memory, std::size_t) noexcept {
    std::free(memory);
}

namespace vexo {
namespace {

using TimelineMemory = TimelineFixture;

TEST_F(TimelineMemory, ACommandThatRunsOutOfIt_ChangesAllOrNothing) {
    struct Case {
        const char *name;
        std::function<void(Timeline &)> command;
    };
    const auto mixed = MakeMixed({{"x", 1}, {"y", 2}, {"z", 3}});
    const auto whole = MakePeriod({{"w", 7}});
    for (const Case &c : {Case{"append", [&](Timeline &tl) { tl.AddBound(mixed, nullptr); }},
                          Case{"insert", [&](Timeline &tl) { tl.InsertBound(mixed, nullptr, 0); }},
                          Case{"replace what plays", [&](Timeline &tl) { tl.ReplaceBound(whole, nullptr, 0); }},
                          Case{"replace by sources", [&](Timeline &tl) { tl.ReplaceBound(mixed, nullptr, 0); }},
                          Case{"replace another", [&](Timeline &tl) { tl.ReplaceBound(mixed, nullptr, 1); }},
                          Case{"remove what plays", [](Timeline &tl) { tl.RemoveBound(0); }},
                          Case{"remove another", [](Timeline &tl) { tl.RemoveBound(2); }},
                          Case{"reset", [](Timeline &tl) { tl.Reset(); }}}) {
        const auto state = [this] { return std::pair(timeline_->GetPeriodCount(), timeline_->GetDuration()); };
        StartAnew();
        PlayThree();
        const auto before = state();
        c.command(*timeline_);
        const auto after = state();
        bool done = false;
        for (int allocations = 0; !done; ++allocations) {
            SCOPED_TRACE(testing::Message() << c.name << ", " << allocations << " allocations");
            StartAnew();
            PlayThree();
            engine_.onCall([](const std::string &) { sLeft = -1; });
            sLeft = allocations;
            try {
                c.command(*timeline_);
                done = sLeft != 0;
            } catch (const std::bad_alloc &) {
                done = false;
            }
            sLeft = -1;
            EXPECT_TRUE(state() == before || state() == after) << state().first << " " << state().second;
            for (int i = 0; i < timeline_->GetPeriodCount(); ++i) timeline_->GetPeriodDuration(i);
            while (timeline_->SkipToNext(false)) {}
            ASSERT_FALSE(HasFailure());
        }
    }
}

}  // namespace
}  // namespace vexo
