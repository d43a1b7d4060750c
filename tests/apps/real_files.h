#pragma once

#include <string>

namespace apps {

/// A file of tests/media; counts and sums are the ffmpeg program's (README there).
struct RealFile {
    std::string name;
    int pictures;
    std::string md5;

    std::string path() const { return std::string(TEST_MEDIA) + "/" + name; }
};

inline const RealFile kPreroll{"preroll-5s.mp4", 125, "44618a481228e3108db787b4d98926cc"};
inline const RealFile kBear{"bear-vp9.webm", 82, "5c822e3d06dd53025915baef29b01cf0"};
inline const RealFile kHevc{"sample_h265.ts", 30, "19da2d7a31f79fd9e30062b1bf986c27"};
inline const RealFile kFlv{"sample-with-key-frame-index.flv", 71, "dc8e571b19788304d400927850823c83"};
inline const RealFile kVorbis{"bear_vorbis.ogg", 0, ""};

}  // namespace apps
