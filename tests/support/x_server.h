#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace support {

// A picture of the screen: the X server without a screen keeps its pixels in a file, in the format of the xwd program.
struct Screenshot {
    int width = 0;
    int height = 0;
    std::vector<std::array<int, 3>> pixels;

    // The box of the pixels that are nearly of this colour, and how many they are.
    struct Area {
        int left = 1 << 20, top = 1 << 20, right = -1, bottom = -1, count = 0;
        int width() const { return right - left + 1; }
        int height() const { return bottom - top + 1; }
    };
    Area find(std::array<int, 3> colour) const {
        Area area;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const auto &pixel = pixels[static_cast<std::size_t>(y * width + x)];
                bool near = true;
                for (std::size_t c = 0; c < 3; ++c) near = near && std::abs(pixel[c] - colour[c]) <= 8;
                if (!near) continue;
                ++area.count;
                area.left = std::min(area.left, x), area.right = std::max(area.right, x);
                area.top = std::min(area.top, y), area.bottom = std::max(area.bottom, y);
            }
        }
        return area;
    }
};

/// An X server without a screen, gone with the object.
class XServer {
public:
    XServer() {
        std::string folder = (std::filesystem::temp_directory_path() / "x_server_XXXXXX").string();
        if (!mkdtemp(folder.data())) return;
        folder_ = folder;
        start();
    }
    ~XServer() {
        stop();
        std::filesystem::remove_all(folder_);
    }
    XServer(const XServer &) = delete;
    XServer &operator=(const XServer &) = delete;

    /// ":1"; empty if it could not be started.
    const std::string &display() const { return display_; }
    const std::filesystem::path &folder() const { return folder_; }
    void stop() {
        if (server_ <= 0) return;
        kill(server_, SIGTERM);
        waitpid(server_, nullptr, 0);
        server_ = -1;
    }

    std::optional<Screenshot> screenshot() const {
        std::ifstream file(folder_ / "Xvfb_screen0", std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        const auto word = [&bytes](std::size_t index) {  // the header's words are big-endian
            std::size_t value = 0;
            for (std::size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<unsigned char>(bytes[index * 4 + i]);
            return value;
        };
        if (bytes.size() < 100) return std::nullopt;
        Screenshot shot;
        shot.width = static_cast<int>(word(4));
        shot.height = static_cast<int>(word(5));
        const std::size_t row = word(12);
        const std::size_t begin = word(0) + word(19) * 12;  // behind the header and the colour map
        if (bytes.size() < begin + row * word(5)) return std::nullopt;
        for (std::size_t y = 0; y < word(5); ++y) {
            for (std::size_t x = 0; x < word(4); ++x) {
                const auto *pixel = reinterpret_cast<const unsigned char *>(&bytes[begin + y * row + x * 4]);
                shot.pixels.push_back({pixel[2], pixel[1], pixel[0]});
            }
        }
        return shot;
    }

private:
    void start() {
        std::array<int, 2> number{};
        if (pipe(number.data()) != 0) return;
        const std::string descriptor = std::to_string(number[1]);
        server_ = fork();
        if (server_ == 0) {
            const int quiet = open("/dev/null", O_RDWR);
            dup2(quiet, STDERR_FILENO);
            execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "800x600x24", "-fbdir",
                   folder_.c_str(), static_cast<char *>(nullptr));
            _exit(127);
        }
        close(number[1]);
        std::array<char, 16> text{};
        if (read(number[0], text.data(), text.size() - 1) > 0) {  // ends with the server at the latest
            display_ = ":" + std::to_string(std::atoi(text.data()));
        }
        close(number[0]);
    }

    std::filesystem::path folder_;
    pid_t server_ = -1;
    std::string display_;
};

}  // namespace support
