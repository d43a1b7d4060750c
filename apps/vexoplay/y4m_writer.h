#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "bound_log.h"
#include "i420_view.h"

namespace vexoplay {

/// Writes pictures to a Y4M file, which it begins with the first one. A Y4M file has one size: a picture of another
/// size begins a further file, FILE.0-1.y4m behind FILE.0.y4m.
/// Threads:  one at a time.
class Y4mWriter {
public:
    /// `stem` is the name without ".y4m".
    explicit Y4mWriter(std::string stem);

    void write(const I420View &picture, const PictureFacts &facts);
    /// Writes out what is buffered. Empty, or what went wrong first; nothing is written behind an error.
    std::string close();
    const std::string &error() const { return error_; }

private:
    void open(const I420View &picture, const PictureFacts &facts);
    void fail(const char *what);

    struct Close {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };
    const std::string stem_;
    std::string path_;
    std::string error_;
    std::unique_ptr<std::FILE, Close> file_;
    int parts_ = 0;
    int width_ = 0;
    int height_ = 0;
};

/// The first line of a Y4M file, with the line break.
std::string y4mHeader(int width, int height, const PictureFacts &facts);

}  // namespace vexoplay
