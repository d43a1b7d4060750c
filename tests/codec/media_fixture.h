#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "codec/codec_media_process.h"
#include "fake/scripted_engine.h"
#include "timeline/timeline.h"

namespace vexo {

/// A processor over a timeline of two periods; `play` gives it the engine player p1.
class MediaTest : public testing::Test {
protected:
    void SetUp() override {
        engine.reset();
        processor.Initialize(timeline, nullptr, -1, -1);
        for (const char *url : {"a", "b"}) {
            auto period = oriplayer::IPeriod::create();
            period->addSource(oriplayer::ISource::create(url, 10.0));
            timeline->AddBound(period, nullptr);
        }
    }
    void TearDown() override {
        timeline->Reset();
        engine.reset();
    }

    void play() {
        timeline->Prepare();
        engine.takeParameterCalls();
        engine.takeLog();
    }

    template <typename... Values> static oriplayer::Param param(Values... values) {
        oriplayer::Param made;
        (put(made, values), ...);
        made.dupString();
        return made;
    }

    fake::ScriptedEngine &engine = fake::ScriptedEngine::instance();
    std::shared_ptr<Timeline> timeline = std::make_shared<Timeline>(0);
    CodecMediaProcess processor;

private:
    static void put(oriplayer::Param &param, int value) { param.putInt32(value); }
    static void put(oriplayer::Param &param, int64_t value) { param.putInt64(value); }
    static void put(oriplayer::Param &param, double value) { param.putDouble(value); }
    static void put(oriplayer::Param &param, const char *value) { param.putCString(value, true); }
};

}  // namespace vexo
