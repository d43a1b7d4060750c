#pragma once

#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

#include "interface/export.h"

namespace oriplayer {

/// An ordered row of typed values, the argument of the engine's generic calls and the data of its events.
///
/// Reading:  getX(-1) takes the next value in order and moves the cursor; getX(index) reads that place and leaves the
///           cursor. Every copy starts at the first value. Numbers convert into each other; a text read as a number
///           is 0, a number read as a text null. Past the end: 0, 0.0 or null, and the cursor stays.
/// Strings:  putCString(text, false) borrows the text. dupString() replaces every string by a private copy that all
///           copies of the object share; freeString() drops this object's hold (its strings then read null), and the
///           last holder frees them.
/// Threads:  a plain value, one thread at a time; copies are independent.
class ORI_API Param {
public:
    Param();
    Param(const Param &other);
    Param(Param &&other) noexcept;
    Param &operator=(const Param &other);
    Param &operator=(Param &&other) noexcept;
    ~Param();

    bool putInt32(int value);
    bool putInt64(int64_t value);
    bool putFloat(float value);
    bool putDouble(double value);
    /// `copy` true keeps a private copy, false borrows `text`, which must then outlive the object or its dupString().
    bool putCString(const char *text, bool copy);
    bool putPointer(const void *pointer);

    int getInt32(int index) const;
    int64_t getInt64(int index) const;
    float getFloat(int index) const;
    double getDouble(int index) const;
    /// A pointer into the object or to the borrowed text, or null.
    const char *getCString(int index) const;
    void *getPointer(int index) const;

    void clear();
    void dupString();
    /// Accepted for callers that announce duplicated strings; strings are counted, so nothing hangs on it. Returns 0.
    int setMalloc(bool allocated) const;
    void freeString();

private:
    struct Text {
        const char *borrowed = nullptr;
        std::shared_ptr<const char[]> owned;
        const char *get() const { return owned ? owned.get() : borrowed; }
    };
    using Value = std::variant<int32_t, int64_t, float, double, const void *, Text>;

    const Value *at(int index) const;
    template <typename Number> Number number(int index) const;

    std::vector<Value> values_;
    mutable std::size_t cursor_ = 0;
};

}  // namespace oriplayer
