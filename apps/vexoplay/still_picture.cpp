#include "still_picture.h"

#include <fcntl.h>
#include <png.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "colour.h"

namespace vexoplay {
namespace {

constexpr int kMaxStills = 9999;

using File = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

File openNew(const std::string &folder, std::string &path) {
    for (int number = 1; number <= kMaxStills; ++number) {
        char name[32];
        std::snprintf(name, sizeof name, "vexoplay-%04d.png", number);
        path = folder.empty() ? name : folder + "/" + name;
        const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0) return {::fdopen(descriptor, "wb"), &std::fclose};
        if (errno != EEXIST) break;
    }
    return {nullptr, &std::fclose};
}

}  // namespace

StillResult saveStill(const StagedPicture &picture, const std::string &folder) {
    StillResult result;
    if (picture.empty()) {
        result.error = "no picture has been shown yet";
        return result;
    }
    const RgbPicture rgb =
        stretched(toRgb(picture.view(), picture.facts.colour), displayWidth(picture.facts.width, picture.facts.aspect));
    const File file = openNew(folder, result.path);
    if (!file) {
        result.error = "cannot create " + result.path + ": " + std::strerror(errno);
        return result;
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(rgb.width);
    image.height = static_cast<png_uint_32>(rgb.height);
    image.format = PNG_FORMAT_RGB;
    if (png_image_write_to_stdio(&image, file.get(), 0, rgb.bytes.data(), 0, nullptr) == 0) {
        result.error = "cannot write " + result.path + ": " + image.message;
        ::unlink(result.path.c_str());
    }
    return result;
}

}  // namespace vexoplay
