#pragma once

#include <string>

namespace vexo {

/// Removes the blanks at both ends; other white space counts as text. Returns `text`.
std::string &TrimBlanks(std::string &text);

/// Ends `text` behind its last character that is not white space; returns the first such character. In place.
char *TrimInPlace(char *text);

std::string IntToString(int value);

}  // namespace vexo
