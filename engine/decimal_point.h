#pragma once

#include <locale.h>

namespace oriplayer {

/// While an object of this class exists, numbers in texts have a decimal point on its thread. FFmpeg and the C library
/// read and write numbers in the locale of the thread: in a locale with a decimal comma they read "0.96" as 0. The
/// application's callbacks must not run in this scope, because they expect the application's locale.
/// Threads: created and destroyed on the same thread; other threads are not affected. Costs nanoseconds.
class DecimalPoint {
public:
    DecimalPoint() : former_(uselocale(classic())) {}
    ~DecimalPoint() { uselocale(former_); }
    DecimalPoint(const DecimalPoint &) = delete;
    DecimalPoint &operator=(const DecimalPoint &) = delete;

private:
    /// The C locale. Null if there is no memory; uselocale(null) changes nothing.
    static locale_t classic() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }

    const locale_t former_;
};

}  // namespace oriplayer
