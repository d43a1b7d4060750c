#pragma once

#include <string>

namespace oriplayer {

/// kPipe is what another program writes: a FIFO, a character device, or a descriptor of this process.
enum class LocalKind { kNone, kRegular, kDirectory, kPipe, kOther };

/// What a URL means on this machine: a path as it is, or file:, file:/// or file://host/ followed by the path, which is
/// taken literally first and with its %XX decoded if nothing is there. Unless there is a file of that name, "-" and
/// "pipe:" are standard input and "pipe:N" is descriptor N.
struct LocalFile {
    LocalKind kind = LocalKind::kNone;
    std::string path;  ///< empty with kNone; of a descriptor its number
};

/// Thread: any.
LocalFile localFile(const std::string &url);

}  // namespace oriplayer
