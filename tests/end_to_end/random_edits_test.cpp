#include "mixed/random_edits.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "end_to_end/programme.h"

namespace end_to_end {
namespace {

using support::clip;
using support::expected;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kEdits = 400;  // about 10 s there
#else
constexpr int kEdits = 1000;
#endif

TEST(RandomEdits, OfAPlayingList_LeaveTimelineAndPlayListEqual) {
    std::vector<random_edits::Clip> clips;
    for (const char *name : {"h264_aac.mp4", "vp9_opus.webm", "mpeg2_mp2.ts", "video_only.mp4"}) {
        clips.push_back({clip(name), expected(name).durationMs});
    }
    for (const unsigned seed : random_edits::seeds()) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Programme programme(Pace::kTimed);
        programme.player->setListener(programme.events);
        random_edits::Editor editor(*programme.player, seed, clips, 1);
        for (int i = 0; i < kEdits && !testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE("edit " + std::to_string(i));
            editor.step();
            editor.checkList();
            // So that the edits meet players in every state, from opening to showing pictures.
            if (editor.pick(4) == 0) std::this_thread::sleep_for(std::chrono::milliseconds(editor.pick(12)));
        }
        for (const int timeline : {0, 1}) editor.checkTimeline(timeline);
    }
}

}  // namespace
}  // namespace end_to_end
