#include "interface/any.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Any, NamesExactlyTheTypeItHolds) {
    const nonstd::any values[] = {{}, 1, 1.0f, true, std::string("text"), "text"};
    const std::type_info *types[] = {&typeid(void), &typeid(int),         &typeid(float),
                                     &typeid(bool), &typeid(std::string), &typeid(const char *)};
    for (std::size_t i = 0; i < std::size(values); ++i) {
        EXPECT_TRUE(values[i].type() == *types[i]) << i;
        EXPECT_EQ(nonstd::any_cast<int>(&values[i]) != nullptr, i == 1) << i;
        EXPECT_EQ(values[i].has_value(), i != 0);
    }
    EXPECT_EQ(nonstd::any_cast<int>(values[1]), 1);
    EXPECT_THROW(nonstd::any_cast<float>(values[1]), nonstd::bad_any_cast);
    EXPECT_THROW(nonstd::any_cast<int>(nonstd::any()), nonstd::bad_any_cast);
    EXPECT_EQ(nonstd::any_cast<int>(static_cast<nonstd::any *>(nullptr)), nullptr);
}

}  // namespace
