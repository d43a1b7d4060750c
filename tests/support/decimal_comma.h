#pragma once

#include <clocale>
#include <cstdlib>

namespace support {

/// The process's locale has a decimal comma for a scope, as in a German application. False in `set()` where the
/// machine has no `localedef` program to make such a locale with.
class DecimalComma {
public:
    DecimalComma() {
        setenv("LOCPATH", LOCALE_DIRECTORY, 1);
        set_ = std::setlocale(LC_NUMERIC, "decimal_comma") != nullptr;
    }
    ~DecimalComma() { std::setlocale(LC_NUMERIC, "C"); }
    DecimalComma(const DecimalComma &) = delete;
    DecimalComma &operator=(const DecimalComma &) = delete;
    bool set() const { return set_; }

private:
    bool set_ = false;
};

}  // namespace support
