// From periods to bounds: cutting, identities, preloading.
#include "timeline/timeline_fixture.h"

namespace vexo {
namespace {

class TimelineBuild : public TimelineFixture {};

TEST_F(TimelineBuild, AStartTimeLandsInTheOneSourceThatContainsIt) {
    struct CutCase {
        int64_t start;
        const char *entered;  // URL of the source that playback begins in, "none" if in none
        int64_t offset;
    };
    for (const CutCase &test :
         {CutCase{0, "a", 0}, {15000, "b", 5000}, {30000, "c", 0}, {-1, "none", 0}, {60000, "none", 0}}) {
        SCOPED_TRACE(test.start);
        StartAnew();
        AddMixed({{"a", 10}, {"b", 20}, {"c", 30}}, test.start);
        EXPECT_EQ(timeline_->GetDuration(), 60000);
        EXPECT_EQ(timeline_->GetPeriodDuration(0), 60000);
        timeline_->Prepare();
        EXPECT_EQ(CurrentUrl(), test.entered);
        timeline_->AccessCurrentBound([&](PlayBound *bound) {
            if (bound) {
                EXPECT_EQ(bound->period->getStartTime(), test.offset);
            }
        });
    }
}

TEST_F(TimelineBuild, ACutPeriodGivesItsOptionsToEverySource_AWholeOneIsTheCallersOwn) {
    const auto mixed = MakeMixed({{"a", 1.5}, {"b", 2}}, -1);
    const auto headers = std::make_shared<oriplayer::StringMap>();
    headers->add("key", "value");
    mixed->setHeaders(headers);
    mixed->setPeriodTag("tag");
    mixed->setPeriodFlag(3);
    mixed->setSourceKind(1);
    mixed->setChangeMode(4);
    mixed->setPeriodValue(5);
    const auto whole = MakePeriod({{"c", 1}, {"d", 2}});
    timeline_->AddBound(mixed, headers);
    timeline_->AddBound(whole, headers);
    headers->clear();
    timeline_->SeekTo(3000, 0);
    timeline_->AccessCurrentBound([&](PlayBound *bound) {
        const auto &cut = bound->period;
        EXPECT_EQ(cut->getSourceCount(), 1);
        EXPECT_EQ(cut->getPeriodTag(), "tag");
        const std::vector<int64_t> options{cut->getPeriodFlag(), cut->getSourceKind(), cut->getChangeMode(),
                                           cut->getPeriodValue()};
        EXPECT_EQ(options, (std::vector<int64_t>{3, 1, 4, 5}));
        EXPECT_STREQ(cut->getHeaders()->valueFor("key"), "value");
        EXPECT_STREQ(bound->headers->valueFor("key"), "value") << "a copy, the caller's map is cleared";
    });
    timeline_->SeekTo(4000, 0);
    timeline_->AccessCurrentBound([&](PlayBound *bound) {
        EXPECT_EQ(bound->period, whole);
        EXPECT_EQ(bound->duration, 3000);
    });
}

TEST_F(TimelineBuild, IdentitiesNameTimelinePeriodAndSource_EightBitsEach) {
    Timeline isolated(1);
    EXPECT_EQ(isolated.GenerateIdentity(nullptr), 0);
    for (int i = 0; i < 300; ++i) {
        isolated.AddBound(i == 2 ? MakeMixed({{"a", 1}, {"b", 1}}, -1) : MakePeriod({{"x", 1}}, -1), nullptr);
    }
    isolated.AddBound(MakePeriod({{"last", 1}}), nullptr);
    isolated.SeekTo(3500, 0);
    isolated.AccessCurrentBound([&](PlayBound *bound) { EXPECT_EQ(isolated.GenerateIdentity(bound), 0x010201); });
    isolated.SeekTo(301500, 0);
    isolated.AccessCurrentBound([&](PlayBound *bound) {
        EXPECT_EQ(isolated.GetBoundPeriodIndex(bound), 300);
        EXPECT_EQ(isolated.GenerateIdentity(bound), 0x012C00);
        EXPECT_EQ(bound->identity.period_id, 44);
    });
}

TEST_F(TimelineBuild, OnlyPeriodsThatAskForItArePreloaded) {
    const auto preloaded = [](std::shared_ptr<oriplayer::IPeriod> period, int64_t mask) {
        period->setPreloadMask(mask);
        return period;
    };
    timeline_->AddBound(preloaded(MakePeriod({{"a", 1}, {"b", 1}}), 1), nullptr);
    timeline_->AddBound(preloaded(MakePeriod({{"no", 1}}), 2), nullptr);
    timeline_->InsertBound(preloaded(MakeMixed({{"c", 1}, {nullptr, 1}, {"d", 1}}), 3), nullptr, 0);
    timeline_->ReplaceBound(preloaded(MakePeriod({{"e", 1}}), 1), nullptr, 0);
    EXPECT_EQ(Calls(),
              "addPreloadTask(a,8192) addPreloadTask(b,8192) addPreloadTask(c,8192) addPreloadTask(d,8192) "
              "addPreloadTask(e,8192)");
}

TEST_F(TimelineBuild, AnIndexOutOfRangeAsksNoSourceForItsLength) {
    struct SlowDisk : oriplayer::ISource {
        int getDuration(int, double *) override {
            ADD_FAILURE();
            return -1;
        }
    };
    Add("a");
    AddMixed({{"m", 10}});
    const auto period = oriplayer::IPeriod::create();
    const auto source = std::make_shared<SlowDisk>();
    period->addSource(source);
    for (const int index : {-1, 3}) timeline_->InsertBound(period, nullptr, index);
    for (const int index : {-1, 2}) timeline_->ReplaceBound(period, nullptr, index);
    for (const int index : {-1, 1, 2}) timeline_->InsertSource(source, nullptr, index);
}

TEST_F(TimelineBuild, AnInsertedSourceJoinsItsPeriodBeforePlayAndWhatPlaysDuringIt) {
    AddThree();
    AddMixed({{"m", 10}});
    const auto source = oriplayer::ISource::create("x", 5);
    timeline_->InsertSource(source, nullptr, 3);
    EXPECT_EQ(timeline_->GetDuration(), 40000) << "a mixed period refuses it";
    timeline_->InsertSource(source, nullptr, 1);
    EXPECT_EQ(timeline_->GetPeriodDuration(1), 15000);
    PlayFirst();
    timeline_->InsertSource(source, nullptr, 2);
    EXPECT_EQ(Calls(), "p1.addSource(x)");
    EXPECT_EQ(timeline_->GetDuration(), 50000);
    timeline_->AccessCurrentBound([](PlayBound *bound) { EXPECT_EQ(bound->period->getSourceCount(), 1); });
    timeline_->SkipToNext(false);
    EXPECT_NE(Calls().find("setDataSource(b+x)"), std::string::npos);
}

}  // namespace
}  // namespace vexo
