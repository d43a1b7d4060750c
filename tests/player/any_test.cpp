#include "interface/any.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

/// Counts how often it was copied.
struct Counted {
    explicit Counted(int *copies) : copies_(copies) {}
    Counted(const Counted &other) : copies_(other.copies_) { ++*copies_; }
    Counted(Counted &&other) noexcept = default;
    int *copies_;
};

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

TEST(Any, CopiesAreIndependentAndMovesCopyNothing) {
    nonstd::any text = std::string("a");
    nonstd::any copy = text;
    nonstd::any_cast<std::string &>(copy) = "b";
    EXPECT_EQ(nonstd::any_cast<std::string>(text), "a");
    text = copy;
    text = *&text;
    EXPECT_EQ(nonstd::any_cast<const std::string &>(std::as_const(text)), "b");

    int copies = 0;
    nonstd::any counted = Counted(&copies);
    nonstd::any moved = std::move(counted);
    counted = std::move(moved);
    moved.swap(counted);
    nonstd::any_cast<Counted>(std::move(moved));
    EXPECT_EQ(copies, 0);
    counted = moved;
    EXPECT_EQ(copies, 1);
    counted.reset();
    EXPECT_FALSE(counted.has_value());
}

}  // namespace
