#pragma once

#include <locale.h>

#include <cstdlib>

namespace vexo {

/// Like std::atof, but always in the C locale: the decimal separator is a point, whatever locale the application sets.
inline double DoubleOf(const char *text) {
    static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
    return classic ? strtod_l(text, nullptr, classic) : std::strtod(text, nullptr);
}

}  // namespace vexo
