#pragma once

#include <locale>
#include <sstream>
#include <string>

namespace vexo {

/// Builds a text of labels and values for reports: doubles with six significant digits, bools as 0 or 1, whatever
/// locale the process has.
class ReportText {
public:
    /// `end` stands behind each value.
    explicit ReportText(char end) : end_(end) { stream_.imbue(std::locale::classic()); }

    /// The label brings its own "=" or ":".
    template <typename Value> void put(const char *label, const Value &value) { stream_ << label << value << end_; }
    void raw(const char *text) { stream_ << text; }
    std::string str() const { return stream_.str(); }

private:
    std::ostringstream stream_;
    const char end_;
};

}  // namespace vexo
