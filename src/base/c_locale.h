#pragma once

#include <locale.h>

#include <cstdlib>

namespace vexo {

/// As std::atof in the C locale: a decimal point is a point, whatever locale the application has set.
inline double DoubleOf(const char *text) {
    static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
    return classic ? strtod_l(text, nullptr, classic) : std::strtod(text, nullptr);
}

}  // namespace vexo
