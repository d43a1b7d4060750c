#pragma once

#include <string>

namespace vexo {

/// The tag under which statistics name a stream: what stands behind "vid=" up to the next "&", without the two
/// characters of padding in front of that "&" (a tag that ends the URL is taken whole, one too short for the cut is
/// empty); "NOVID" without "vid=". What stands behind "&streamtypecode=" follows after a "-". Nothing is decoded.
/// 0; -1 for an empty URL, and `out` stays.
int ParseVideoTag(const std::string &url, std::string &out);

/// What stands behind "vid=" up to the next "&" or the end. 0; -1 if there is no "vid=", and `out` stays.
int ParseVideoId(const std::string &url, std::string &out);

}  // namespace vexo
