#pragma once

#include <cstdint>
#include <vector>

#include "base/oriplayer/picture.h"
#include "render/i_render_middleware.h"

namespace VexoPlayerNS {

/// A picture with memory of its own, ready for a middleware or a pipeline. V's rows are one byte wider than U's.
struct TestPicture {
    TestPicture(int width, int height, int type) : memory(static_cast<std::size_t>(width * height * 2 + height)) {
        const int half = (width + 1) / 2;
        entries[0] = {width, memory.data()};
        entries[1] = {half, entries[0].data + width * height};
        entries[2] = {half + 1, entries[1].data + half * ((height + 1) / 2)};
        picture.width = width;
        picture.height = height;
        picture.type = type;
        picture.planes = entries;
    }
    TestPicture(const TestPicture &) = delete;
    TestPicture &operator=(const TestPicture &) = delete;

    std::vector<uint8_t> memory;
    oriplayer::PlaneEntry entries[3];
    oriplayer::VideoPicture picture{};
    vexo::RenderOutputInfo info{vexo::kRenderCatVideo, {}, &picture};
    oriplayer::RenderRecord record{{}, &picture};
};

}  // namespace VexoPlayerNS
