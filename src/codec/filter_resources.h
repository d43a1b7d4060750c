#pragma once

#include <string>

namespace vexo {

// Where film styles and colour conversions lie: a JSON array of objects with an integer "id" and a text "url". Ids of
// film styles are 1 to 1000, those of colour conversions are higher. A text that cannot be read counts as empty.

/// The url of film style `style`, or empty.
std::string findFilmStyle(const std::string &json, int style);

/// The url of the first colour conversion, or empty.
std::string findColorConversion(const std::string &json);

}  // namespace vexo
