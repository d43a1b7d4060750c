#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

#include "running_program.h"
#include "support/clips.h"

namespace apps {
namespace {

namespace fs = std::filesystem;

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

class Window : public testing::Test {
protected:
    void SetUp() override {
        if (std::system("command -v Xvfb >/dev/null") != 0) GTEST_SKIP() << "no Xvfb here";
        folder_ = fs::temp_directory_path() / ("vexoplay_window_" + std::to_string(getpid()));
        fs::create_directories(folder_);
        startServer();
        ASSERT_NE(setting_.display, "");
    }
    void TearDown() override {
        if (server_ > 0) {
            kill(server_, SIGTERM);
            waitpid(server_, nullptr, 0);
        }
        fs::remove_all(folder_);
    }

    void startServer() {
        std::array<int, 2> number{};
        ASSERT_EQ(pipe(number.data()), 0);
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
            setting_.display = ":" + std::to_string(std::atoi(text.data()));
        }
        close(number[0]);
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

    // Halves of pure red and blue, 160x240 pixels that are twice as wide as high: 320x240 on the screen.
    std::string colourClip(const std::string &matrix, const std::string &range) const {
        const std::string path = (folder_ / (matrix + range + ".mkv")).string();
        const std::string command =
            "ffmpeg -nostdin -v error -y -f lavfi -i color=red:s=80x240:r=25:d=20,format=rgb24 "
            "-f lavfi -i color=blue:s=80x240:r=25:d=20,format=rgb24 -filter_complex \"hstack,scale=out_color_matrix=" +
            matrix + ":out_range=" + range + ",format=yuv420p,setsar=2\" -c:v libx264 -preset ultrafast -colorspace " +
            (matrix == "bt601" ? "smpte170m" : matrix) + " -color_range " + range + " \"" + path + "\"";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return path;
    }

    fs::path folder_;
    pid_t server_ = -1;
    RunningProgram::Setting setting_;
};

TEST_F(Window, ThePictureStandsThereInItsColoursAndItsAspect) {
    // SDL has no matrix for BT.709 of the full range (see Window); the others are exact.
    for (const auto &[matrix, range] :
         std::vector<std::pair<std::string, std::string>>{{"bt601", "tv"}, {"bt709", "tv"}, {"bt601", "pc"}}) {
        RunningProgram program({colourClip(matrix, range)}, setting_);
        Screenshot::Area red;
        Screenshot::Area blue;
        EXPECT_TRUE(program.waitUntil([&] {
            const auto shot = screenshot();
            if (shot) red = shot->find({255, 0, 0}), blue = shot->find({0, 0, 255});
            return red.count > 30'000 && blue.count > 30'000;
        })) << matrix
            << range << " " << red.count << " " << blue.count << program.err();
        EXPECT_NEAR(red.width() + blue.width(), 320, 6) << "the edge between them is soft";
        EXPECT_EQ(red.height(), 240);
        EXPECT_LT(red.right, blue.left);
        program.signal(SIGINT);
        EXPECT_EQ(program.finish().code, 4);
    }
}

TEST_F(Window, TwoPicturesOfAFilmDiffer) {
    RunningProgram program({support::clip("numbered.mp4")}, setting_);
    std::optional<Screenshot> first;
    ASSERT_TRUE(program.waitUntil([&] {
        first = screenshot();
        return first && first->find({255, 255, 255}).count > 100;
    })) << program.err();
    EXPECT_TRUE(program.waitUntil([&] {
        const auto next = screenshot();
        return next && next->pixels != first->pixels;
    }));
}

TEST_F(Window, WithoutADisplayItPlaysAndSaysSo) {
    RunningProgram::Setting none;
    RunningProgram program({"--untimed", support::clip("video_only.mp4")}, none);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.err, testing::HasSubstr("playing without a window"));
}

}  // namespace
}  // namespace apps
