// Positions on three scales, and seeks.
#include <cmath>
#include <cstdint>
#include <functional>

#include "timeline/timeline_fixture.h"

namespace vexo {
namespace {

class TimelinePosition : public TimelineFixture {};

TEST_F(TimelinePosition, PositionsAreSummedOverTheBounds) {
    Add("a", 10);
    AddMixed({{"b", 20}, {"c", 30}}, -1);
    PlayFirst();
    timeline_->SeekTo(35000, 0);
    engine_.player("p2").positionMs = 500;
    EXPECT_EQ(timeline_->GetCurrentPosition(0), 30500);
    EXPECT_EQ(timeline_->GetPeriodCurrentPosition(0), 20500);
    EXPECT_EQ(timeline_->GetPeriodDuration(-1), 50000);
    timeline_->Pause();
    EXPECT_EQ(timeline_->GetCurrentPosition(0), 30500);
    engine_.player("p2").positionMs = -7;
    EXPECT_EQ(timeline_->GetPeriodCurrentPosition(0), 20000);
    engine_.player("p2").durationMs = 31000;
    EXPECT_EQ(timeline_->GetPeriodDuration(1), 51000) << "the player knows better than the source";
    EXPECT_EQ(timeline_->GetDuration(), 60000) << "until it reports prepared";
    Tell("p2", kEventPrepared);
    EXPECT_EQ(timeline_->GetDuration(), 61000);
}

TEST_F(TimelinePosition, PreparedButNotStarted_ThePositionIsThePlayersAlone) {
    Add("a", 10, -1);
    Add("b", 10, 4000);
    timeline_->Prepare();
    EXPECT_EQ(timeline_->GetPeriodCurrentPosition(0), 4000) << "where the period will begin";
    engine_.player("p1").positionMs = 4100;
    EXPECT_EQ(timeline_->GetCurrentPosition(0), 4100);
    EXPECT_EQ(timeline_->GetPeriodCurrentPosition(0), 4100);
    timeline_->Start();
    EXPECT_EQ(timeline_->GetCurrentPosition(0), 14100);
}

TEST_F(TimelinePosition, ALengthThatIsNoNumberOfMillisecondsIsUnknown_SumsAreLimited) {
    for (const double seconds : {double{INFINITY}, -double{INFINITY}, double{NAN}, 1e300, 9.3e15, -9.3e15}) {
        SCOPED_TRACE(seconds);
        StartAnew();
        AddMixed({{"a", seconds}, {"b", 10}});
        timeline_->InsertBound(MakePeriod({{"c", seconds}, {"d", 10}}), nullptr, 0);
        EXPECT_EQ(timeline_->GetDuration(), 20000);
        timeline_->SkipToNext(false);
        timeline_->SeekTo(15000, 0);
        EXPECT_EQ(CurrentUrl(), "a");
    }
    for (const char *url : {"c", "d"}) Add(url, 9.2e15);
    EXPECT_EQ(timeline_->GetDuration(), INT64_MAX);
    EXPECT_EQ(timeline_->GetPeriodDuration(0), 10000);
}

// It plays the first of a (10 s), b and c (20 s and 30 s, one mixed period), d (5 s, starts at 1 s), e (unknown).
struct SeekCase {
    const char *name;
    std::function<void(Timeline &)> seek;
    std::string calls;
};
void PrintTo(const SeekCase &each, std::ostream *out) {
    *out << each.name;
}
class TimelineSeek : public TimelineFixture, public ::testing::WithParamInterface<SeekCase> {};

TEST_P(TimelineSeek, LandsInTheBoundThatContainsThePosition) {
    Add("a", 10);
    AddMixed({{"b", 20}, {"c", 30}}, -1);
    Add("d", 5, 1000);
    Add("e", 0);
    PlayFirst();
    GetParam().seek(*timeline_);
    EXPECT_EQ(Calls(), GetParam().calls);
}

std::string MovedTo(const char *url) {
    return Left("p1") + " " + Entered("p2", url);
}

INSTANTIATE_TEST_SUITE_P(
    Seeks, TimelineSeek,
    ::testing::Values(
        SeekCase{"InTheCurrentBound", [](Timeline &tl) { tl.SeekTo(3000, 1); }, "p1.seekTo(3000,1)"},
        SeekCase{"OnItsEndStays", [](Timeline &tl) { tl.SeekTo(10000, 0); }, "p1.seekTo(10000,0)"},
        SeekCase{"IntoAnotherBound", [](Timeline &tl) { tl.SeekTo(30500, 1); }, MovedTo("c") + " p2.seekTo(500,1)"},
        SeekCase{"OnThePeriodScaleAnEndGoesOn", [](Timeline &tl) { tl.SeekCurrentPeriodTo(10000, 0); }, MovedTo("b")},
        SeekCase{"OnThePeriodScaleInPlace", [](Timeline &tl) { tl.SeekCurrentPeriodTo(9999, 1); }, "p1.seekTo(9999,1)"},
        SeekCase{"OnThePeriodScaleBeyondThePeriod", [](Timeline &tl) { tl.SeekCurrentPeriodTo(35000, 1); },
                 MovedTo("c") + " p2.seekTo(5000,1)"},
        SeekCase{"ToTheBeginningOfAPeriodThatStartsLater", [](Timeline &tl) { tl.SeekCurrentPeriodTo(60000, 0); },
                 MovedTo("d") + " p2.seekTo(0,0)"},
        SeekCase{"AnUnknownLengthTakesAllThatIsLeft", [](Timeline &tl) { tl.SeekTo(99000, 0); },
                 MovedTo("e") + " p2.seekTo(34000,0)"},
        SeekCase{"SkippingKeepsTheStartTime",
                 [](Timeline &tl) {
                     tl.SkipToNext(false);
                     tl.SkipToNext(false);
                 },
                 MovedTo("b") + " " + Left("p2") + " " + Entered("p3", "d")}));

TEST_F(TimelinePosition, ASeekBehindTheEndDoesNothing) {
    PlayThree();
    timeline_->SeekTo(30001, 0);
    timeline_->SeekCurrentPeriodTo(30000, 0);
    EXPECT_EQ(Calls(), "");
}

TEST_F(TimelinePosition, TheVideoSizeIsCachedUntilTheEndOfABound) {
    PlayThree();
    engine_.logQueries = true;
    engine_.player("p1").width = 640;
    engine_.player("p1").height = 360;
    EXPECT_EQ(timeline_->GetVideoWidth(), 640);
    EXPECT_EQ(timeline_->GetVideoWidth(), 640);
    EXPECT_EQ(Calls(), "p1.getVideoWidth");
    EXPECT_EQ(CallsBehind("p1", kEventVideoSize), "p1.getVideoWidth p1.getVideoHeight");
    engine_.player("p2").width = 320;
    Tell("p1", kEventEnd);
    EXPECT_EQ(timeline_->GetVideoWidth(), 320);
    timeline_->Stop();
    Forget();
    timeline_->PostMessage_(0, kEventVideoSize, 0, 0, oriplayer::Param());
    ASSERT_TRUE(listener_->waitFor(kEventVideoSize, 2));
    EXPECT_EQ(timeline_->GetVideoWidth(), 320) << "without a player the cache stays";
}

}  // namespace
}  // namespace vexo
