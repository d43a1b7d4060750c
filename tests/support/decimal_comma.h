#pragma once

#include <clocale>
#include <cstdlib>

namespace support {

/// The process's locale has a decimal comma for a scope, as in a German application. `set` is false on a machine that
/// has no `localedef` program to make such a locale with.
struct DecimalComma {
    const bool set = setenv("LOCPATH", LOCALE_DIRECTORY, 1) == 0 && std::setlocale(LC_NUMERIC, "decimal_comma");
    ~DecimalComma() { std::setlocale(LC_NUMERIC, "C"); }
};

}  // namespace support
