#include <atomic>
#include <future>
#include <thread>

#include "mixed/player_fixture.h"

namespace vexo {
namespace {

class PeriodEditing : public PlayerTest {
protected:
    /// The URLs of the periods that a list holds.
    static std::string urls(const std::shared_ptr<IPlayList> &list) {
        std::string joined;
        for (int i = 0; i < list->getPeriodCount(); ++i) joined += list->getPeriod(i)->getSource(0)->getUrl(0);
        return joined;
    }

    int64_t duration() {
        int64_t duration = -1;
        player->getDuration(&duration);
        return duration;
    }
};

TEST_F(PeriodEditing, ASourceGivenAgain_PlaysItsPeriodsOnce) {
    const auto source = component({"a", "b"});
    const auto list = source->playList;
    for (int round = 0; round < 3; ++round) {
        auto again = std::make_shared<PlayComponent>();
        again->playList = list;
        EXPECT_EQ(load(again), 0);
        EXPECT_EQ(urls(list), "ab");
        EXPECT_EQ(duration(), 20'000);
    }
}

TEST_F(PeriodEditing, ThePlayersOwnComponent_KeepsItsList) {
    const auto source = component({"a", "b"});
    const auto list = source->playList;
    load(source);
    load(source);
    EXPECT_EQ(source->playList, list);
    EXPECT_EQ(duration(), 20'000);
    player->stop(true);
    EXPECT_EQ(source->playList, nullptr);
    EXPECT_EQ(urls(list), "ab");
}

TEST_F(PeriodEditing, ASourceThatAHandlerSetsDuringACommand_MixesWithNothing) {
    for (const bool replaces : {true, false}) {
        const auto former = component({"a"});
        const auto handlers = component({"b"});
        load(former);
        player->prepareAsync();
        std::promise<void> inside;
        std::atomic<bool> begun{false};
        listener->on(306, [&] {
            inside.set_value();
            while (!begun) std::this_thread::yield();
            for (int i = 0; i < 1000; ++i) std::this_thread::yield();  // most often the command waits for us by now
            load(handlers);
        });
        engine.post(replaces ? "p1" : "p2", 306);
        inside.get_future().wait();
        begun = true;
        replaces ? load(component({"c", "d"})) : player->stop(true);
        EXPECT_TRUE(!replaces || duration() == 20'000) << duration();
        EXPECT_EQ(duration() > 0, replaces || handlers->playList != nullptr);
    }
}

TEST_F(PeriodEditing, WithoutAList_SetDataSourceOnlyStops) {
    for (const auto &none :
         {std::vector<std::shared_ptr<PlayComponent>>{}, std::vector<std::shared_ptr<PlayComponent>>{nullptr},
          std::vector<std::shared_ptr<PlayComponent>>{std::make_shared<PlayComponent>()}}) {
        load(component({"a"}));
        EXPECT_EQ(player->setDataSource(none, 1, nullptr), 0);
        EXPECT_EQ(duration(), 0);
    }
}

TEST_F(PeriodEditing, AList_EndsAtItsFirstEmptyPlace) {
    struct Gap : IPlayList {
        int addPeriod(const std::shared_ptr<IPeriod> &, int) override { return -1; }
        int replacePeriod(const std::shared_ptr<IPeriod> &, int) override { return -1; }
        std::shared_ptr<IPeriod> getPeriod(int index) override { return index == 1 ? nullptr : period({"a"}); }
        int removePeriod(int) override { return -1; }
        int getPeriodCount() override { return 3; }
    };
    auto source = std::make_shared<PlayComponent>();
    source->playList = std::make_shared<Gap>();
    EXPECT_EQ(load(source), 0);
    EXPECT_EQ(duration(), 10'000);
}

TEST_F(PeriodEditing, EachEdit_IsRepeatedOnTheCallersList) {
    const auto source = component({"a", "b"});
    const auto list = source->playList;
    load(source);
    const auto mixedNothing = period({}, true);
    struct Step {
        std::string name;
        std::function<int()> edit;
        int result;
        std::string urls;
        int64_t durationMs;
    };
    const std::vector<Step> steps{
        {"append", [&] { return player->addPeriod(0, -1, period({"c"}), nullptr); }, 0, "abc", 30'000},
        {"insert", [&] { return player->addPeriod(0, 1, period({"d"}), nullptr); }, 0, "adbc", 40'000},
        {"insert at the end", [&] { return player->addPeriod(0, 4, period({"e"}), nullptr); }, 0, "adbce", 50'000},
        {"insert too far", [&] { return player->addPeriod(0, 9, period({"f"}), nullptr); }, 0, "adbce", 50'000},
        {"add nothing", [&] { return player->addPeriod(0, -1, nullptr, nullptr); }, 0, "adbce", 50'000},
        {"add a mixed period without sources", [&] { return player->addPeriod(0, -1, mixedNothing, nullptr); }, 0,
         "adbce", 50'000},
        {"add a source", [&] { return player->addSource(0, 1, ISource::create("s", 5.0), nullptr); }, 0, "adbce",
         55'000},
        {"replace", [&] { return player->changePeriod(0, 0, period({"g"}), nullptr); }, 0, "gdbce", 55'000},
        {"replace by nothing", [&] { return player->changePeriod(0, 0, nullptr, nullptr); }, -1, "gdbce", 55'000},
        {"replace by a mixed period without sources", [&] { return player->changePeriod(0, 0, mixedNothing, nullptr); },
         0, "dbce", 45'000},
        {"remove", [&] { return player->delPeriod(0, 1); }, 0, "dce", 35'000},
        {"remove too far", [&] { return player->delPeriod(0, 99); }, 0, "dce", 35'000},
        {"clear", [&] { return player->clearPeriods(0); }, 0, "", 0},
    };
    for (const Step &step : steps) {
        SCOPED_TRACE(step.name);
        EXPECT_EQ(step.edit(), step.result);
        EXPECT_EQ(urls(list), step.urls);
        EXPECT_EQ(duration(), step.durationMs);
    }
}

TEST_F(PeriodEditing, AnAddToAnEmptiedTimeline_LeavesTheFormerListAlone) {
    const auto source = component({"a", "b"});
    const auto former = source->playList;
    load(source);
    player->stop(0, true);
    EXPECT_EQ(source->playList, former);
    player->addPeriod(0, -1, period({"c"}), nullptr);
    EXPECT_EQ(urls(former), "ab");
    EXPECT_EQ(urls(source->playList), "c");
}

TEST_F(PeriodEditing, ChangePeriod_PrefersThePeriodsOwnHeaders) {
    load(component({"a"}));
    player->prepareAsync();
    auto own = std::make_shared<StringMap>();
    own->add("from", "period");
    auto options = std::make_shared<StringMap>();
    options->add("from", "options");
    auto changed = period({"b"});
    changed->setHeaders(own);
    player->changePeriod(0, 0, changed, options);
    EXPECT_EQ(player->getActivePeriod(), changed);
    EXPECT_NE(log().find("p1.changePeriod(b)"), std::string::npos);
}

TEST_F(PeriodEditing, ClearWhilePlaying_LeavesNoEnginePlayer) {
    playMain({"a", "b", "c"});
    EXPECT_EQ(player->clearPeriods(0), 0);
    EXPECT_EQ(engine.living(), 0);
    EXPECT_EQ(engine.maxLiving(), 1);
    EXPECT_EQ(player->clearPeriods(1), 0);  // has no list
}

}  // namespace
}  // namespace vexo
