#include "base/oriplayer/param.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <string>
#include <thread>

#include "base/oriplayer/string_map.h"

namespace {

using oriplayer::Param;
using oriplayer::StringMap;

TEST(Param, ReadsInOrderToTheEnd_AnIndexLeavesTheCursorAndACopyBeginsAnew) {
    Param param;
    param.putInt32(7);
    param.putCString("text", false);
    param.putDouble(2.5);
    EXPECT_EQ(param.getInt32(-1), 7);
    EXPECT_EQ(param.getDouble(2), 2.5);
    EXPECT_STREQ(param.getCString(-1), "text");
    Param assigned;
    assigned.putInt32(1);
    EXPECT_EQ(assigned.getInt32(-1), 1);
    assigned = param;
    EXPECT_EQ(assigned.getInt32(-1), 7);
    EXPECT_EQ(Param(param).getInt32(-1), 7);
    EXPECT_EQ(param.getDouble(-1), 2.5);
    EXPECT_EQ(param.getInt32(-1), 0);
    EXPECT_EQ(param.getCString(-1), nullptr);
}

TEST(Param, NumbersConvertAndNothingElseDoes) {
    int object = 0;
    Param param;
    param.putDouble(1e300);
    param.putDouble(std::numeric_limits<double>::quiet_NaN());
    param.putInt64(-3);
    param.putCString("12", true);
    param.putPointer(&object);
    EXPECT_EQ(param.getInt32(0), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(param.getInt64(0), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(param.getInt64(1), 0);
    EXPECT_EQ(param.getFloat(2), -3.0f);
    EXPECT_EQ(param.getInt32(3), 0);
    EXPECT_EQ(param.getCString(2), nullptr);
    EXPECT_EQ(param.getPointer(4), &object);
    EXPECT_EQ(param.getPointer(2), nullptr);
}

TEST(Param, DuplicatedTextsOutliveTheirOwnerUntilTheLastCopyLetsGo) {
    Param kept;
    {
        std::string text = "short lived";
        Param borrowed;
        borrowed.putCString(text.c_str(), false);
        borrowed.putCString(nullptr, false);
        kept = borrowed;
        kept.dupString();
        text.assign(text.size(), '-');
    }
    Param second = kept;
    kept.freeString();
    EXPECT_EQ(kept.getCString(0), nullptr);
    EXPECT_STREQ(second.getCString(0), "short lived");
    EXPECT_EQ(second.getCString(1), nullptr);
    second.freeString();
    second.freeString();
}

TEST(StringMap, IsCopiedWholeWhileAnotherThreadClearsIt) {
    const std::string text(100, 'x');
    StringMap map;
    std::atomic<bool> over{false};
    std::thread other([&] {
        while (!over) {
            map.add("a", text.c_str());
            map.clear();
        }
    });
    for (int i = 0; i < 1000; ++i) {
        const StringMap copy(map);
        ASSERT_TRUE(copy.size() == 0 || copy.valueAt(0) == text);
    }
    over = true;
    other.join();
}

TEST(StringMap, TheLastValueOfAKeyWinsAndAllPairsShow) {
    StringMap map;
    map.add("type", "1");
    map.add("type", "3");
    map.add(nullptr, nullptr);
    EXPECT_STREQ(map.valueFor("type"), "3");
    EXPECT_STREQ(map.valueAt(0), "1");
    EXPECT_STREQ(map.keyAt(2), "");
    EXPECT_EQ(map.keyAt(3), nullptr);
    EXPECT_EQ(map.valueAt(-1), nullptr);
    EXPECT_EQ(map.valueFor(nullptr), nullptr);
    const char *early = map.valueAt(0);
    for (int i = 0; i < 1000; ++i) map.add("k", "v");
    EXPECT_EQ(map.valueAt(0), early);
    map.clear();
    EXPECT_EQ(map.size(), 0);
}

}  // namespace
