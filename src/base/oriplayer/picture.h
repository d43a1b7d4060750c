#pragma once

#include <cstddef>
#include <cstdint>

namespace oriplayer {

/// One plane of a picture: rows lie `stride` bytes apart.
struct PlaneEntry {
    int32_t stride;
    uint8_t *data;
};

/// A picture as the engine shows it: 8-bit I420, type 0.
/// Planes:  [0] Y, `height` rows of `width` bytes; [1] U and [2] V, (height + 1) / 2 rows of (width + 1) / 2 bytes. A
///          stride may be wider than its row. Memory belongs to the engine and is valid during the Render call.
struct VideoPicture {
    int32_t width;
    int32_t height;
    int32_t type;
    int32_t reserved[7];
    PlaneEntry *planes;
};

/// Places in RenderRecord::words. All 64-bit times take two words, the lower half first.
enum RenderWord {
    kRenderPositionLow = 0,  ///< position of the picture in microseconds on its player's scale
    kRenderPositionHigh = 1,
    kRenderDuration = 2,  ///< microseconds for which the picture is shown at speed 1.0; 0 if unknown
    kRenderNumber = 3,    ///< running number of the picture, from 0 anew with each player; dropped ones count
    kRenderDropped = 4,   ///< pictures that this player has dropped as too late so far
    kRenderLateness = 5,  ///< microseconds behind its time at which the picture is handed out, at least 0
    kRenderColor = 6,     ///< RenderColorFlag bits
    kRenderAspect = 7,    ///< sample aspect ratio: numerator << 16 | denominator, 0 if square or unknown
};

enum RenderColorFlag : uint32_t {
    kRenderFullRange = 1u << 0,    ///< luma 0..255; else 16..235
    kRenderMatrixKnown = 1u << 1,  ///< the stream names its matrix; else guess by height (below 720 BT.601)
    kRenderBt709 = 1u << 2,        ///< with kRenderMatrixKnown: BT.709; else BT.601
    kRenderBt2020 = 1u << 3,       ///< with kRenderMatrixKnown: BT.2020 non-constant luminance
    kRenderInterlaced = 1u << 4,
};

/// The argument of a pipeline's Render. The words may be ignored; the picture is word 10.
struct RenderRecord {
    uint32_t words[10];
    VideoPicture *picture;
};

// The records are shared in memory with code compiled elsewhere; with 32-bit pointers the table has 8 bytes an entry
// and the render record 44 bytes.
static_assert(offsetof(VideoPicture, width) == 0 && offsetof(VideoPicture, height) == 4);
static_assert(offsetof(VideoPicture, type) == 8 && offsetof(VideoPicture, planes) == 40);
static_assert(offsetof(PlaneEntry, stride) == 0 && offsetof(PlaneEntry, data) == sizeof(void *));
static_assert(sizeof(PlaneEntry) == 2 * sizeof(void *));
static_assert(offsetof(RenderRecord, picture) == 40);
static_assert(sizeof(void *) != 4 || sizeof(RenderRecord) == 44);

}  // namespace oriplayer
