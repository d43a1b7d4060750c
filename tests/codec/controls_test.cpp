#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "codec/control_table.h"
#include "codec/media_fixture.h"

namespace vexo {
namespace {

using Values = std::vector<double>;

struct Use {
    Control control;
    std::function<int(CodecMediaProcess &)> call;
    Values sent;  ///< texts and pointers count as -1
};

int gSomething = 0;
float gMatrix[16] = {1.0F, 2.0F};

/// One use of each control, and what the engine shall get.
const std::vector<Use> kUses{
    {Control::kRenderVideo, [](auto &p) { return p.SetRenderVideo(true); }, {0}},
    {Control::kRenderMode, [](auto &p) { return p.SetRenderMode(3, 4); }, {3, 4}},
    {Control::kEnhanceMode, [](auto &p) { return p.SetEnhanceMode(true, 0.5F, 0.25F); }, {1, 0.5, 0.25}},
    {Control::kVideoRendCutMode, [](auto &p) { return p.SetVideoRendCutMode(1, 1.0F, 0.0F); }, {1, 1, 0, 0, 1, 0, 1}},
    {Control::kColorBlindType, [](auto &p) { return p.SetColorBlindType(2, 9); }, {2, 9}},
    {Control::kVideoRendMove, [](auto &p) { return p.SetVideoRendMove(0.5F, 0.75F); }, {1, 1, 0, 0, 1, 0, 1, 0.75}},
    {Control::kVolume, [](auto &p) { return p.SetVolume(0.5F); }, {0.5}},
    {Control::kAudioInfo, [](auto &p) { return p.SetAudioInfo(5, 6); }, {5, 6}},
    {Control::kAudioEnhance, [](auto &p) { return p.SetAudioEnhance(true); }, {1}},
    {Control::kNightMode, [](auto &p) { return p.SetNightMode(7); }, {7}},
    {Control::kBinocularMode, [](auto &p) { return p.SetBinocularMode(true); }, {1}},
    {Control::kRotationMatrix, [](auto &p) { return p.SetRotationMatrix(2, gMatrix, 8); }, {2, 8, -1}},
    {Control::kPlaySpeed, [](auto &p) { return p.SetPlaySpeed(1.25); }, {1.25}},
    {Control::kPanGuesture, [](auto &p) { return p.SetPanGuesture(1, 0.5F, 0.25F); }, {1, 0.5, 0.25}},
    {Control::kTcConfigParam, [](auto &p) { return p.SetTcConfigParam(11); }, {11}},
    {Control::kAudioMute, [](auto &p) { return p.SetAudioMute(true); }, {1}},
    {Control::kVisionIndex,
     [](auto &p) {
         p.SetVisionMode(2);
         return p.SetVisionIndex(12);
     },
     {12}},
    {Control::kSurfaceSize, [](auto &p) { return p.SetSurfaceSize(640, 360); }, {640, 360}},
    {Control::kGyroscopActive, [](auto &p) { return p.SetGyroscopActive(true); }, {1}},
    {Control::kInterfaceOrientation, [](auto &p) { return p.SetInterfaceOrientation(3); }, {3}},
    {Control::kWaterMarkInfo,
     [](auto &p) { return p.SetWaterMarkInfo(1, "mark", &gSomething, 2, 3, 4, 5, 0.5F, 0.25F, 1.0F); },
     {1, -1, -1, 2, 3, 4, 5, 0.5, 0.25, 1}},
    {Control::kSoriVanTimeStampMode, [](auto &p) { return p.SetSoriVanTimeStampMode(true); }, {1}},
    {Control::kLiveSeiGettingMode, [](auto &p) { return p.SetLiveSeiGettingMode(true); }, {1}},
    {Control::kLiveSEIGettingMode, [](auto &p) { return p.SetLiveSEIGettingMode(true); }, {1}},
    {Control::kAudioCallback, [](auto &p) { return p.SetAudioCallback(&gSomething); }, {-1}},
};

using Controls = MediaTest;

TEST_F(Controls, EveryRow_IsUsedHereAndHasAKeyOfItsOwn) {
    std::map<int, int> uses;
    ASSERT_EQ(kUses.size(), control_table::kRows.size());
    for (std::size_t i = 0; i < kUses.size(); ++i) {
        EXPECT_EQ(kUses[i].control, control_table::kRows[i].control);
        ++uses[control_table::kRows[i].key];
    }
    for (const auto &[key, count] : uses) EXPECT_EQ(count, key == 2011 || key == 2360 ? 2 : 1) << key;
}

TEST_F(Controls, WithoutAPlayer_TheAnswerIsTheRows) {
    for (const Use &use : kUses) {
        const ControlRow &row = rowOf(use.control);
        EXPECT_EQ(use.call(processor), row.result == ControlRow::Result::kEngine ? -1 : 0) << row.name;
    }
    EXPECT_TRUE(engine.takeParameterCalls().empty());
    EXPECT_EQ(processor.GetVolume(), 0.0F);
    EXPECT_EQ(processor.GetAudioCallback(), &gSomething);
    EXPECT_FALSE(processor.IsPlaying());
}

TEST_F(Controls, WithAPlayer_ItGetsTheValuesInTheirOrder) {
    timeline->Prepare();
    for (const Use &use : kUses) {
        const ControlRow &row = rowOf(use.control);
        SCOPED_TRACE(row.name);
        engine.takeParameterCalls();
        engine.resultOf(row.key, -5);
        EXPECT_EQ(use.call(processor), row.result == ControlRow::Result::kEngine ? -5 : 0);
        const auto calls = engine.takeParameterCalls();
        ASSERT_EQ(calls.size(), 1U);
        EXPECT_EQ(calls[0].player, "p1");
        EXPECT_EQ(calls[0].call, row.call == ControlRow::Call::kSetParameter ? "setParameter" : "setRenderConfig");
        EXPECT_EQ(calls[0].number, row.key);
        EXPECT_EQ(calls[0].index, row.index);
        for (std::size_t i = 0; i < use.sent.size(); ++i) {
            if (use.sent[i] < 0) continue;
            EXPECT_DOUBLE_EQ(calls[0].value.getDouble(static_cast<int>(i)), use.sent[i]) << "value " << i;
        }
    }
}

TEST_F(Controls, TheBoundThatIsCurrent_IsTheOneThatHears) {
    timeline->Prepare();
    timeline->SeekTo(15'000, 0);
    engine.takeParameterCalls();
    processor.SetPlaySpeed(2.0);
    const auto calls = engine.takeParameterCalls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].player, "p2");
}

TEST_F(Controls, WhatIsOutOfRangeOrNotAsked_SendsNothing) {
    timeline->Prepare();
    engine.takeParameterCalls();
    EXPECT_EQ(processor.SetVideoRendMove(0.5F, 0.5F), 0);  // no cut mode yet
    EXPECT_EQ(processor.SetVideoRendCutMode(1, 1.01F, 0.5F), -1);
    EXPECT_EQ(processor.SetVideoRendCutMode(1, 0.5F, -0.01F), -1);
    EXPECT_EQ(processor.SetVideoRendMove(0.5F, 0.5F), 0);  // and none from what was refused
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
