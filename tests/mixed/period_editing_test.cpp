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
};

TEST_F(PeriodEditing, ASourceGivenAgain_KeepsItsListAndPlaysItOnce) {
    const auto own = component({"a", "b"});
    const auto list = own->playList;
    const auto another = std::make_shared<PlayComponent>();
    another->playList = list;
    for (const auto &source : {own, own, another}) {
        EXPECT_EQ(load(source), 0);
        EXPECT_EQ(source->playList, list);
        EXPECT_EQ(urls(list), "ab");
        EXPECT_EQ(duration(), 20'000);
    }
    player->stop(true);
    EXPECT_EQ(another->playList, nullptr);
    EXPECT_EQ(urls(list), "ab");
}

TEST_F(PeriodEditing, ASourceThatAHandlerSetsDuringACommand_MixesWithNothing) {
    for (const bool replaces : {true, false}) {
        restart();
        const auto handlers = component({"b"});
        load(component({"a"}));
        player->prepareAsync();
        std::promise<void> inside;
        std::atomic<bool> begun{false};
        listener->on(306, [&] {
            inside.set_value();
            while (!begun) std::this_thread::yield();
            for (int i = 0; i < 1000; ++i) std::this_thread::yield();  // most often the command waits for us by now
            load(handlers);
        });
        engine.post("p1", 306);
        inside.get_future().wait();
        begun = true;
        replaces ? load(component({"c", "d"})) : player->stop(true);
        EXPECT_TRUE(duration() == 10'000 || duration() == (replaces ? 20'000 : 0)) << duration();
        EXPECT_EQ(duration() == 10'000, handlers->playList != nullptr);
    }
}

TEST_F(PeriodEditing, OfSourcesSetAtOnce_OnePlaysWhole) {
    for (int round = 0; round < 200; ++round) {
        const auto sources = {component({"a"}), component({"b", "c"}), component({"d", "e", "f", "g"})};
        std::atomic<int> waiting{3};
        std::vector<std::thread> threads;
        for (const auto &source : sources) {
            threads.emplace_back([&, source] {
                --waiting;
                while (waiting > 0) std::this_thread::yield();
                load(source);
            });
        }
        for (std::thread &thread : threads) thread.join();
        ASSERT_TRUE(duration() == 10'000 || duration() == 20'000 || duration() == 40'000) << duration();
        player->clearPeriods(0);  // as many as the player's list names
        ASSERT_EQ(duration(), 0);
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
    const auto given = component({"a", "b"});
    const auto list = given->playList;
    load(given);
    const auto mixedNothing = period({}, true);
    const auto source = ISource::create("s", 5.0);
    auto &p = *player;
    struct Step {
        const char *name;
        std::function<int()> edit;
        int result;
        const char *urls;
        int64_t seconds;
    };
    const std::vector<Step> steps{
        {"append", [&] { return p.addPeriod(0, -1, period({"c"}), {}); }, 0, "abc", 30},
        {"insert", [&] { return p.addPeriod(0, 1, period({"d"}), {}); }, 0, "adbc", 40},
        {"insert at the end", [&] { return p.addPeriod(0, 4, period({"e"}), {}); }, 0, "adbce", 50},
        {"insert too far", [&] { return p.addPeriod(0, 9, period({"f"}), {}); }, 0, "adbce", 50},
        {"insert too early", [&] { return p.addPeriod(0, -2, period({"f"}), {}); }, 0, "adbce", 50},
        {"add nothing", [&] { return p.addPeriod(0, -1, nullptr, {}); }, 0, "adbce", 50},
        {"add a mixed one without sources", [&] { return p.addPeriod(0, -1, mixedNothing, {}); }, 0, "adbce", 50},
        {"add a source", [&] { return p.addSource(0, 1, source, {}); }, 0, "adbce", 55},
        {"add a source too early", [&] { return p.addSource(0, -1, source, {}); }, 0, "adbce", 55},
        {"add a source too far", [&] { return p.addSource(0, 5, source, {}); }, 0, "adbce", 55},
        {"add no source", [&] { return p.addSource(0, 0, nullptr, {}); }, 0, "adbce", 55},
        {"replace", [&] { return p.changePeriod(0, 0, period({"g"}), {}); }, 0, "gdbce", 55},
        {"replace too early", [&] { return p.changePeriod(0, -1, period({"f"}), {}); }, 0, "gdbce", 55},
        {"replace too far", [&] { return p.changePeriod(0, 5, period({"f"}), {}); }, 0, "gdbce", 55},
        {"replace by nothing", [&] { return p.changePeriod(0, 0, nullptr, {}); }, -1, "gdbce", 55},
        {"replace by a mixed one without sources", [&] { return p.changePeriod(0, 0, mixedNothing, {}); }, 0, "dbce",
         45},
        {"remove", [&] { return p.delPeriod(0, 1); }, 0, "dce", 35},
        {"remove too early", [&] { return p.delPeriod(0, -1); }, 0, "dce", 35},
        {"remove too far", [&] { return p.delPeriod(0, 3); }, 0, "dce", 35},
        {"clear", [&] { return p.clearPeriods(0); }, 0, "", 0},
    };
    for (const Step &step : steps) {
        SCOPED_TRACE(step.name);
        EXPECT_EQ(step.edit(), step.result);
        EXPECT_EQ(urls(list), step.urls);
        EXPECT_EQ(duration(), step.seconds * 1000);
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

TEST_F(PeriodEditing, ClearWhilePlaying_LeavesNoEnginePlayer) {
    playMain({"a", "b", "c"});
    EXPECT_EQ(player->clearPeriods(0), 0);
    EXPECT_EQ(engine.living(), 0);
    EXPECT_EQ(engine.maxLiving(), 1);
    EXPECT_EQ(player->clearPeriods(1), 0);  // has no list
}

}  // namespace
}  // namespace vexo
