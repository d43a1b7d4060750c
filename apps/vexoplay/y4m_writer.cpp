#include "y4m_writer.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

#include "base/oriplayer/picture.h"

namespace vexoplay {
namespace {

// Pictures tell their duration in whole microseconds. 33367 is 30000/1001 and 40000 is 25: the nearest rate of the
// usual two families, else the duration as it stands.
std::pair<int64_t, int64_t> frameRate(uint32_t durationUs) {
    if (durationUs == 0) return {25, 1};
    const double rate = 1e6 / durationUs;
    for (const int64_t denominator : {1000, 1001}) {
        const double scale = static_cast<double>(denominator) / 1000.0;
        const int64_t whole = std::max<int64_t>(std::llround(rate * scale), 1);
        const double exactUs = 1e6 * scale / static_cast<double>(whole);
        if (std::abs(exactUs - durationUs) > 1.0) continue;
        return denominator == 1000 ? std::pair(whole, int64_t{1}) : std::pair(whole * 1000, denominator);
    }
    return {1'000'000, durationUs};
}

}  // namespace

std::string y4mHeader(int width, int height, const PictureFacts &facts) {
    const auto [numerator, denominator] = frameRate(facts.durationUs);
    const uint32_t wide = facts.aspect >> 16;
    const uint32_t high = facts.aspect & 0xFFFF;
    const bool known = wide != 0 && high != 0;
    std::string line = "YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height) + " F" +
                       std::to_string(numerator) + ":" + std::to_string(denominator);
    line += (facts.colour & oriplayer::kRenderInterlaced) != 0 ? " It" : " Ip";
    line += " A" + std::to_string(known ? wide : 1) + ":" + std::to_string(known ? high : 1) + " C420jpeg";
    line += (facts.colour & oriplayer::kRenderFullRange) != 0 ? " XCOLORRANGE=FULL\n" : " XCOLORRANGE=LIMITED\n";
    return line;
}

Y4mWriter::Y4mWriter(std::string stem) : stem_(std::move(stem)) {}

void Y4mWriter::fail(const char *what) {
    error_ = std::string("cannot ") + what + " " + path_ + ": " + std::strerror(errno);
    file_.reset();
}

void Y4mWriter::open(const I420View &picture, const PictureFacts &facts) {
    if (!close().empty()) return;
    path_ = stem_ + (parts_ > 0 ? "-" + std::to_string(parts_) : std::string()) + ".y4m";
    ++parts_;
    file_.reset(std::fopen(path_.c_str(), "wbe"));
    if (!file_) return fail("open");
    width_ = picture.width;
    height_ = picture.height;
    const std::string header = y4mHeader(width_, height_, facts);
    if (std::fwrite(header.data(), 1, header.size(), file_.get()) != header.size()) fail("write");
}

void Y4mWriter::write(const I420View &picture, const PictureFacts &facts) {
    if (!error_.empty()) return;
    if (!file_ || picture.width != width_ || picture.height != height_) open(picture, facts);
    if (!file_) return;
    bool written = std::fwrite("FRAME\n", 1, 6, file_.get()) == 6;
    picture.forEachRow([&](const uint8_t *row, std::size_t bytes) {
        written = written && std::fwrite(row, 1, bytes, file_.get()) == bytes;
    });
    if (!written) fail("write");
}

std::string Y4mWriter::close() {
    if (file_ && std::fflush(file_.get()) != 0) fail("write");
    file_.reset();
    return error_;
}

}  // namespace vexoplay
