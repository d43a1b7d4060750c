#include "playback/programme.h"

#include <gtest/gtest.h>

namespace oriplayer {
namespace {

struct PlaceCase {
    int64_t positionUs;
    int index;
    int64_t startUs;
};

TEST(Programme, APositionBelongsToTheLastSourceThatBeginsAtOrBeforeIt) {
    Programme programme;
    for (const int64_t length : {1000, 2000, 0, 500}) programme.append({"u", length});
    const PlaceCase cases[] = {{0, 0, 0},       {999, 0, 0},     {1000, 1, 1000},
                               {2999, 1, 1000}, {3000, 2, 3000}, {90000, 2, 3000}};
    for (const auto &item : cases) {
        const auto place = programme.locate(item.positionUs);
        EXPECT_EQ(place.index, item.index) << item.positionUs;
        EXPECT_EQ(place.startUs, item.startUs) << item.positionUs;
    }
    EXPECT_EQ(programme.totalUs(), 0);  // one length is unknown
    programme.setMeasured(2, 4000);
    EXPECT_EQ(programme.totalUs(), 7500);
    EXPECT_EQ(programme.locate(7000).index, 3);
}

TEST(Programme, WhatIsReadCountsWhereTheContainerPromisedLessOrMuchMore) {
    struct Case {
        int64_t length, measured, placed;
    };
    const Case cases[] = {{1'000'000, 1'020'000, 1'020'000},
                          {1'000'000, 960'000, 1'000'000},
                          {1'000'000, 300'000, 300'000},
                          {0, 700'000, 700'000}};
    for (const auto &item : cases) {
        Programme programme;
        programme.append({"a", 5});
        programme.append({"b", 5});
        programme.setLength(0, item.length);
        programme.setMeasured(0, item.measured);
        EXPECT_EQ(programme.startOf(1), item.placed) << item.length << " " << item.measured;
    }
}

}  // namespace
}  // namespace oriplayer
