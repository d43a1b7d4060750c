#pragma once

#include <memory>
#include <string>

namespace vexoplay {

/// Writes what library and engine report, each report as a line with its module and category, to a file.
/// Threads:  the main thread; reports come on any. One object a process.
class ReportFile {
public:
    /// Begins the file; see error().
    explicit ReportFile(const std::string &path);
    /// No report is taken any more.
    ~ReportFile();
    ReportFile(const ReportFile &) = delete;
    ReportFile &operator=(const ReportFile &) = delete;

    /// The first failure, or empty.
    std::string error() const;

private:
    class Writer;
    std::shared_ptr<Writer> writer_;  ///< shared with a report under way
};

}  // namespace vexoplay
