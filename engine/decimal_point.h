#pragma once

#include <locale.h>

namespace oriplayer {

/// FFmpeg reads and the C library writes numbers as the thread's locale says: under a decimal comma "0.96" is 0. As
/// long as an object of this class lives, numbers on its thread have a decimal point. The locale of other threads, and
/// of the application's callbacks, stays as it is: none of them may run within the scope. Threads: an object belongs to
/// the thread that makes it. Costs nanoseconds.
class DecimalPoint {
public:
    DecimalPoint() : former_(uselocale(classic())) {}
    ~DecimalPoint() { uselocale(former_); }
    DecimalPoint(const DecimalPoint &) = delete;
    DecimalPoint &operator=(const DecimalPoint &) = delete;

private:
    /// Null, which changes nothing, if there is no memory.
    static locale_t classic() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }

    const locale_t former_;
};

}  // namespace oriplayer
