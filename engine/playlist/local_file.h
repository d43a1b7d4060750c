#pragma once

#include <string>

namespace oriplayer {

enum class LocalKind { kNone, kRegular, kDirectory, kOther };

/// What a URL means on this machine: a path as it stands, or file:, file:/// or file://host/ with the path behind it,
/// taken literally first and with its %XX decoded if nothing is there.
struct LocalFile {
    LocalKind kind = LocalKind::kNone;
    std::string path;  ///< empty with kNone
};

/// Thread: any.
LocalFile localFile(const std::string &url);

}  // namespace oriplayer
