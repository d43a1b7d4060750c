#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <set>

#include "codec/control_table.h"
#include "codec/media_fixture.h"

namespace vexo {
namespace {

using control_table::kRows;
using Values = std::vector<double>;

struct Use {
    std::function<int(CodecMediaProcess &)> call;
    Values sent;  ///< texts and pointers count as -1
};

int gSomething = 0;
float gMatrix[16] = {1.0F, 2.0F};

/// One use of each control, in the order of the rows, and what the engine shall get.
const std::vector<Use> kUses{
    {[](auto &p) { return p.SetRenderVideo(true); }, {0}},
    {[](auto &p) { return p.SetRenderMode(3, 4); }, {3, 4}},
    {[](auto &p) { return p.SetEnhanceMode(true, 0.5F, 0.25F); }, {1, 0.5, 0.25}},
    {[](auto &p) { return p.SetVideoRendCutMode(1, 1.0F, 0.0F); }, {1, 1, 0, 0, 1, 0, 1}},
    {[](auto &p) { return p.SetColorBlindType(2, 9); }, {2, 9}},
    {[](auto &p) { return p.SetVideoRendMove(0.5F, 0.75F); }, {1, 1, 0, 0, 1, 0, 1, 0.75}},
    {[](auto &p) { return p.SetVolume(0.5F); }, {0.5}},
    {[](auto &p) { return p.SetAudioInfo(5, 6); }, {5, 6}},
    {[](auto &p) { return p.SetAudioEnhance(true); }, {1}},
    {[](auto &p) { return p.SetNightMode(7); }, {7}},
    {[](auto &p) { return p.SetBinocularMode(true); }, {1}},
    {[](auto &p) { return p.SetRotationMatrix(2, gMatrix, 8); }, {2, 8, -1}},
    {[](auto &p) { return p.SetPlaySpeed(1.25); }, {1.25}},
    {[](auto &p) { return p.SetPanGuesture(1, 0.5F, 0.25F); }, {1, 0.5, 0.25}},
    {[](auto &p) { return p.SetTcConfigParam(11); }, {11}},
    {[](auto &p) { return p.SetAudioMute(true); }, {1}},
    {[](auto &p) {
         p.SetVisionMode(2);
         return p.SetVisionIndex(12);
     },
     {12}},
    {[](auto &p) { return p.SetSurfaceSize(640, 360); }, {640, 360}},
    {[](auto &p) { return p.SetGyroscopActive(true); }, {1}},
    {[](auto &p) { return p.SetInterfaceOrientation(3); }, {3}},
    {[](auto &p) { return p.SetWaterMarkInfo(1, "mark", &gSomething, 2, 3, 4, 5, 0.5F, 0.25F, 1.0F); },
     {1, -1, -1, 2, 3, 4, 5, 0.5, 0.25, 1}},
    {[](auto &p) { return p.SetSoriVanTimeStampMode(true); }, {1}},
    {[](auto &p) { return p.SetLiveSeiGettingMode(true); }, {1}},
    {[](auto &p) { return p.SetLiveSEIGettingMode(true); }, {1}},
    {[](auto &p) { return p.SetAudioCallback(&gSomething); }, {-1}},
};

using Controls = MediaTest;

TEST_F(Controls, WithoutAPlayer_TheAnswerIsTheRows) {
    std::set<int> keys;
    for (std::size_t i = 0; i < kUses.size(); ++i) {
        const ControlRow &row = kRows.at(i);
        EXPECT_EQ(kUses[i].call(processor), row.result == ControlRow::Result::kEngine ? -1 : 0) << row.name;
        keys.insert(row.key);
    }
    EXPECT_EQ(keys.size(), kRows.size() - 2) << "a twin, and two ways to cut; all others have keys of their own";
    EXPECT_TRUE(engine.takeParameterCalls().empty());
    EXPECT_EQ(processor.GetVolume(), 0.0F);
    EXPECT_EQ(processor.GetAudioCallback(), &gSomething);
    EXPECT_FALSE(processor.IsPlaying());
}

TEST_F(Controls, ThePlayerOfTheCurrentBound_GetsTheValuesInTheirOrder) {
    play();
    timeline->SeekTo(15'000, 0);
    ASSERT_EQ(kUses.size(), kRows.size());
    for (std::size_t i = 0; i < kUses.size(); ++i) {
        const ControlRow &row = kRows[i];
        SCOPED_TRACE(row.name);
        engine.takeParameterCalls();
        engine.resultOf(row.key, -5);
        EXPECT_EQ(kUses[i].call(processor), row.result == ControlRow::Result::kEngine ? -5 : 0);
        const auto calls = engine.takeParameterCalls();
        ASSERT_EQ(calls.size(), 1U);
        EXPECT_EQ(calls[0].player, "p2");
        EXPECT_EQ(calls[0].call, row.call == ControlRow::Call::kSetParameter ? "setParameter" : "setRenderConfig");
        EXPECT_EQ(calls[0].number, row.key);
        EXPECT_EQ(calls[0].index, row.index);
        for (std::size_t value = 0; value < kUses[i].sent.size(); ++value) {
            if (kUses[i].sent[value] < 0) continue;
            EXPECT_DOUBLE_EQ(calls[0].value.getDouble(static_cast<int>(value)), kUses[i].sent[value]) << value;
        }
    }
}

// The engine stops a bound's player under the timeline's mutex and waits for onVideoFrame, which may use a control.
TEST_F(Controls, WhileThePlayerIsStopped_NoneWaitsForTheTimeline) {
    play();
    std::future<void> pictureThread;
    bool returned = false;
    engine.onCall([&](const std::string &entry) {
        if (entry != "p1.stop") return;
        pictureThread = std::async(std::launch::async, [this] {
            for (const Use &use : kUses) use.call(processor);
        });
        returned = pictureThread.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    });
    timeline->SeekTo(15'000, 0);
    EXPECT_TRUE(returned);
}

TEST_F(Controls, WhatIsOutOfRangeOrNotAsked_SendsNothing) {
    play();
    EXPECT_EQ(processor.SetVideoRendCutMode(1, 1.01F, 0.5F), -1);
    EXPECT_EQ(processor.SetVideoRendCutMode(1, 0.5F, -0.01F), -1);
    EXPECT_EQ(processor.SetVideoRendMove(0.5F, 0.5F), 0);  // no cut mode yet, none from what was refused
    EXPECT_EQ(processor.SetVisionIndex(3), 0);
    EXPECT_EQ(processor.SetRotationMatrix(17, gMatrix, 0), 0);
    EXPECT_EQ(processor.SetRotationMatrix(-1, gMatrix, 0), 0);
    EXPECT_EQ(processor.SetRotationMatrix(2, nullptr, 0), 0);
    EXPECT_TRUE(engine.takeParameterCalls().empty());
}

TEST_F(Controls, Readings_AreKeptWithTheirFailuresButNotAtZero) {
    EXPECT_EQ(processor.GetAvgVideoBitrate(false), -1.0);
    timeline->Prepare();
    engine.answerParameter(1602, param(int64_t{0}));
    EXPECT_EQ(processor.GetAvgKeyFrameSize(false), 0.0);
    for (const int64_t bytes : {90'000, 80'000}) {
        for (const int number : {1601, 1602}) engine.answerParameter(number, param(bytes));
        EXPECT_EQ(processor.GetAvgKeyFrameSize(true), 90'000.0);
        EXPECT_EQ(processor.GetAvgVideoBitrate(true), -1.0);
    }
    engine.answerParameter(1600, param(29.97));
    EXPECT_EQ(processor.GetVideoFrameRate(false), 29.0);
}

}  // namespace
}  // namespace vexo
