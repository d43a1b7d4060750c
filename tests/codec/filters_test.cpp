#include <map>
#include <string>

#include "codec/media_fixture.h"
#include "codec/media_keys.h"
#include "support/decimal_comma.h"

namespace vexo {
namespace {

class Filters : public MediaTest {
protected:
    int filter(int type, const std::map<std::string, std::string> &params) {
        return processor.SetFilter(static_cast<oriplayer::EDRWFilterType>(type), params);
    }
    /// "type: key=value ..." of the last call, empty if there was none.
    std::string heard() {
        std::string text;
        for (const auto &call : engine.takeFilterCalls()) {
            EXPECT_EQ(call.index, -1);
            text = std::to_string(call.type) + ":";
            for (const auto &[key, value] : call.params) text.append(" ").append(key).append("=").append(value);
        }
        return text;
    }
    bool recordHolds(const std::string &field) {
        return processor.getPlayerInfoByKey(KVPLAYER_INFO_KEY_ALL).find(";" + field + ";") != std::string::npos;
    }
};

TEST_F(Filters, PairsPassThrough_TwoFiltersSayTheirTypeInFront) {
    play();
    EXPECT_EQ(filter(99, {{"b", "2"}, {"a", "1"}}), 0);
    EXPECT_EQ(heard(), "99: a=1 b=2");
    filter(3, {{"type", "4"}});
    EXPECT_EQ(heard(), "3: type=4");
    engine.resultOf(5, -7);
    EXPECT_EQ(filter(5, {{"type", "3"}, {"a", "1"}}), -7);
    EXPECT_EQ(heard(), "5: film_style_local_type=3 a=1 type=3");
    filter(6, {{"type", "4"}});
    EXPECT_EQ(heard(), "6: color_space_convert_local_type=4 type=4");
    filter(6, {});
    EXPECT_EQ(heard(), "6:");
}

TEST_F(Filters, TheChoiceIsKeptForReports_WithoutAPlayerToo) {
    EXPECT_EQ(filter(5, {{"type", "3"}}), -1);
    EXPECT_EQ(filter(6, {{"type", "4"}}), -1);
    EXPECT_TRUE(recordHolds("colorFilterVersion=3"));
    EXPECT_TRUE(recordHolds("colorSpaceCorrectVersion=0"));  // nothing says where the conversion lies
    processor.SetFilterResources(R"([{"id": 1001, "url": "/convert"}])");
    filter(6, {{"type", "4"}});
    EXPECT_TRUE(recordHolds("colorSpaceCorrectVersion=1"));
    filter(6, {});
    filter(5, {});
    EXPECT_TRUE(recordHolds("colorSpaceCorrectVersion=0"));
    EXPECT_TRUE(recordHolds("colorFilterVersion=0"));
}

TEST_F(Filters, AResource_IsTheFirstWholeEntryThatFits) {
    play();
    processor.SetFilterResources(
        R"([7, {"id": 3}, {"id": "3", "url": "/text"}, {"id": 3, "url": 5}, {"id": 1003, "url": "/c"},
        {"id": 3, "url": "/three"}, {"id": 3, "url": "/later"}, {"id": 0, "url": "/zero"}, {"id": 1002, "url": "/d"}])");
    for (const auto &[type, number, expected] :
         {std::tuple{5, "3", "5: film_style_local_type=3 film_style_local_path=/three type=3"},
          {5, "0", "5: film_style_local_type=0 type=0"},
          {5, "1003", "5: film_style_local_type=1003 type=1003"},
          {6, "3", "6: color_space_convert_local_type=3 color_space_convert_local_path=/c type=3"},
          {6, "0", "6: color_space_convert_local_type=0 type=0"}}) {
        filter(type, {{"type", number}});
        EXPECT_EQ(heard(), expected);
    }
    for (const std::string &bad :
         {std::string("[{"), std::string(R"({"id": 3, "url": "/x"})"), std::string(3000, '[')}) {
        processor.SetFilterResources(bad);
        filter(5, {{"type", "3"}});
        EXPECT_EQ(heard(), "5: film_style_local_type=3 type=3");
    }
}

TEST_F(Filters, TheCrop_IsARenderConfigurationOfItsFourEdges_WhateverTheLocale) {
    const support::DecimalComma comma;
    if (!comma.set) GTEST_SKIP() << "no program localedef";
    const std::map<std::string, std::string> edges{{"left", "0.25"}, {"right", "0.75"}, {"top", "x"}, {"bottom", "1"}};
    EXPECT_EQ(filter(10, edges), 0);
    play();
    EXPECT_EQ(filter(10, {{"left", "0.5"}, {"right", "0.875"}}), -1);
    EXPECT_TRUE(engine.takeParameterCalls().empty());
    processor.SetVideoRendCutMode(1, 0, 0);  // shows the whole picture again
    EXPECT_EQ(filter(10, {{"left", "0.5"}, {"right", "0.875"}, {"bottom", "1"}}), -1);
    engine.takeParameterCalls();
    processor.SetVideoRendMove(0, 0.5F);
    EXPECT_EQ(filter(10, edges), 0);
    EXPECT_EQ(heard(), "");
    const auto calls = engine.takeParameterCalls();
    ASSERT_EQ(calls.size(), 2U);
    const double moved[] = {1, 0, 0, 0.5, 0.875, 0, 1, 0.5};  // the edges in front of the missing one were kept
    const double cropped[] = {5, 0, 0, 0.25, 0.75, 0, 1, 0};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(calls[0].value.getDouble(i), moved[i]) << i;
        EXPECT_EQ(calls[1].value.getDouble(i), cropped[i]) << i;
    }
    EXPECT_EQ(calls[1].call + std::to_string(calls[1].number) + "," + std::to_string(calls[1].index),
              "setRenderConfig2011,0");
}

}  // namespace
}  // namespace vexo
