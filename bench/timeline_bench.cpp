// What a long list costs: building it, and the queries that a user interface repeats several times a second.
#include <benchmark/benchmark.h>

#include <memory>

#include "base/oriplayer/period.h"
#include "timeline/timeline.h"

namespace {

constexpr double kSeconds = 2.0;

std::shared_ptr<oriplayer::IPeriod> makePeriod(int64_t startMs) {
    auto period = oriplayer::IPeriod::create();
    period->addSource(oriplayer::ISource::create("/nowhere/clip.mp4", kSeconds));
    period->setStartTime(startMs);
    return period;
}

/// `count` periods of which the last one has a start time and is current: every query passes the whole list.
class LongList : public benchmark::Fixture {
public:
    void SetUp(benchmark::State &state) override {
        const auto count = state.range(0);
        timeline_ = std::make_unique<vexo::Timeline>(0);
        for (int64_t i = 0; i < count; ++i) timeline_->AddBound(makePeriod(i + 1 < count ? -1 : 0), nullptr);
        timeline_->Prepare();
        timeline_->Start();  // positions count from the list only while it plays
    }
    void TearDown(benchmark::State &) override { timeline_.reset(); }

protected:
    std::unique_ptr<vexo::Timeline> timeline_;
};

BENCHMARK_DEFINE_F(LongList, Position)(benchmark::State &state) {
    int64_t position = 0;
    for (auto _ : state) benchmark::DoNotOptimize(position = timeline_->GetCurrentPosition(0));
    if (position < (state.range(0) - 1) * static_cast<int64_t>(1000 * kSeconds)) state.SkipWithError("wrong position");
    state.SetComplexityN(state.range(0));
}
BENCHMARK_REGISTER_F(LongList, Position)->Arg(10)->Arg(1'000)->Arg(10'000)->Complexity();

BENCHMARK_DEFINE_F(LongList, Duration)(benchmark::State &state) {
    for (auto _ : state) benchmark::DoNotOptimize(timeline_->GetDuration());
    state.SetComplexityN(state.range(0));
}
BENCHMARK_REGISTER_F(LongList, Duration)->Arg(10)->Arg(1'000)->Arg(10'000)->Complexity();

/// A whole list: linear in its length if adding one costs the same wherever it is added.
void LongList_AddBound(benchmark::State &state) {
    const auto count = state.range(0);
    std::vector<std::shared_ptr<oriplayer::IPeriod>> periods;
    for (int64_t i = 0; i < count; ++i) periods.push_back(makePeriod(0));
    for (auto _ : state) {
        vexo::Timeline timeline(0);
        for (const auto &period : periods) timeline.AddBound(period, nullptr);
    }
    state.SetItemsProcessed(state.iterations() * count);
    state.SetComplexityN(count);
}
BENCHMARK(LongList_AddBound)->Arg(10)->Arg(1'000)->Arg(10'000)->Complexity()->Unit(benchmark::kMicrosecond);

}  // namespace
