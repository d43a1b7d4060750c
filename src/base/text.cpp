#include "base/text.h"

#include <cctype>
#include <cstring>

namespace vexo {
namespace {

bool IsSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

std::string &TrimBlanks(std::string &text) {
    text.erase(0, text.find_first_not_of(' '));
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

char *TrimInPlace(char *text) {
    char *end = text + std::strlen(text);
    while (end > text && IsSpace(end[-1])) --end;
    *end = '\0';
    while (IsSpace(*text)) ++text;
    return text;
}

std::string IntToString(int value) {
    return std::to_string(value);
}

}  // namespace vexo
