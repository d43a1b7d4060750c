#include <gmock/gmock.h>

#include <memory>

#include "ending.h"
#include "json_lines.h"
#include "programme.h"

namespace vexoplay {
namespace {

ProbeAnswer answered(int64_t durationMs, bool live = false) {
    ProbeAnswer answer;
    answer.state = ProbeAnswer::State::kAnswered;
    answer.result.durationMs = durationMs;
    answer.result.live = live;
    return answer;
}

ProbeAnswer failed() {
    ProbeAnswer answer;
    answer.state = ProbeAnswer::State::kFailed;
    return answer;
}

std::unique_ptr<Programme> make(Programme::Shape shape, const std::vector<ProbeAnswer> &answers,
                                int64_t declaredMs = 0) {
    std::vector<ListedItem> items;
    for (std::size_t i = 0; i < answers.size(); ++i)
        items.push_back({"http://host/" + std::to_string(i), {}, declaredMs});
    auto programme = std::make_unique<Programme>(std::move(items), shape);
    for (std::size_t i = 0; i < answers.size(); ++i) programme->setProbe(static_cast<int>(i), answers[i]);
    return programme;
}

TEST(Programme, WhatIsKnownOfALengthDecidesWhatIsDeclared) {
    struct Case {
        const char *what;
        ProbeAnswer answer;
        int64_t declared, each, mixed;
    };
    const std::vector<Case> cases{{"the probe wins", answered(4'000), 9'000, 4'000, 4'000},
                                  {"else the list", answered(0), 9'000, 9'000, 9'000},
                                  {"a live one has none", answered(0, true), 9'000, 0, 1},
                                  {"nothing known", {}, 0, 0, 1},
                                  {"a dead one bars no way", failed(), 0, 1, 1}};
    for (const Case &c : cases) {
        for (const auto shape : {Programme::Shape::kPeriodEach, Programme::Shape::kOneMixedPeriod}) {
            const auto programme = make(shape, {c.answer}, c.declared);
            programme->build({});
            EXPECT_EQ(programme->lengthMs(0), shape == Programme::Shape::kPeriodEach ? c.each : c.mixed) << c.what;
        }
    }
}

TEST(BoundLog, ABoundIsEnteredOncePerPlayerWhateverOrderNewsComesIn) {
    BoundLog log;
    PictureFacts facts;
    facts.durationUs = 40'000;
    facts.latenessUs = 30'000;
    log.entered(1, -1, 100);
    log.picture(1, facts, 2.0);
    log.entered(1, 0, 200);
    log.entered(2, 1, 300);
    log.entered(1, 5, 400);  // an event that waited: the item stays
    log.entered(3, 0, 500);
    log.picture(8, facts, 1.0);  // nobody's
    const std::vector<BoundRecord> bounds = log.all();
    ASSERT_EQ(bounds.size(), 3u);
    EXPECT_EQ(bounds[0].item, 0);
    EXPECT_EQ(bounds[0].enteredUs, 100);
    EXPECT_EQ(bounds[0].late, 1);
    EXPECT_EQ(bounds[0].lastIntervalUs, 20'000) << "at twice the speed a picture stands half as long";
    EXPECT_EQ(bounds[1].item, 1);
    EXPECT_EQ(bounds[2].item, 0) << "entered again";
    EXPECT_EQ(log.indexOf(3), 2);
    EXPECT_EQ(log.indexOf(8), -1);
}

TEST(Ending, TheExitCodeTellsWhatWasPlayedAndWhatFailed) {
    BoundRecord shown, prepared, dead, broken;
    shown.pictures = 5;
    prepared.prepared = true;
    dead.failed = true;
    broken.prepared = broken.failed = true;
    struct Case {
        Ending ending;
        std::vector<BoundRecord> bounds;
        bool error, presented;
        ExitCode code;
        const char *word;
    };
    const std::vector<Case> cases{{Ending::kThrough, {shown}, false, true, ExitCode::kPlayed, "end"},
                                  {Ending::kThrough, {prepared}, false, false, ExitCode::kPlayed, "end"},
                                  {Ending::kThrough, {}, false, false, ExitCode::kNothingPlayable, "error"},
                                  {Ending::kThrough, {dead, dead}, true, false, ExitCode::kNothingPlayable, "error"},
                                  {Ending::kThrough, {broken}, true, false, ExitCode::kNothingPlayable, "error"},
                                  {Ending::kThrough, {broken}, true, true, ExitCode::kSomeFailed, "end"},
                                  {Ending::kThrough, {dead, shown}, true, true, ExitCode::kSomeFailed, "end"},
                                  {Ending::kQuit, {}, false, false, ExitCode::kPlayed, "quit"},
                                  {Ending::kQuit, {dead, shown}, true, true, ExitCode::kSomeFailed, "quit"},
                                  {Ending::kSignal, {dead}, true, false, ExitCode::kSignal, "signal"},
                                  {Ending::kFault, {shown}, false, true, ExitCode::kInternal, "error"}};
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const Case &c = cases[i];
        const std::vector<PlayEvent> errors(c.error ? 1 : 0);
        EXPECT_EQ(exitCodeOf(c.ending, c.bounds, errors, c.presented), c.code) << i;
        EXPECT_STREQ(exitWordOf(c.ending, c.code), c.word) << i;
    }
}

TEST(BoundLog, GapsAreMeasuredBetweenPicturesLessOneInterval) {
    std::vector<BoundRecord> bounds(3);
    bounds[0].pictures = bounds[1].pictures = 1;
    bounds[0].lastPictureUs = 1'000'000;
    bounds[0].lastIntervalUs = 40'000;
    bounds[1].firstPictureUs = 1'052'500;
    const std::vector<BoundSwitch> switches = switchesOf(bounds);
    ASSERT_EQ(switches.size(), 2u);
    EXPECT_DOUBLE_EQ(switches[0].gapMs, 12.5);
    EXPECT_FALSE(switches[1].measured) << "sound alone has no pictures to measure by";
}

}  // namespace
}  // namespace vexoplay
