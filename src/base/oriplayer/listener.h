#pragma once

#include <string>

#include "base/oriplayer/param.h"
#include "interface/export.h"

namespace oriplayer {

/// Receives what an engine player has to say. Called on the engine's threads with none of its locks held; `param` is
/// valid during the call only.
class IOriPlayerListener {
public:
    virtual ~IOriPlayerListener() = default;
    virtual void notify(long long id, int msg, int ext1, int ext2, const Param &param) = 0;
    virtual void notify(int msg, int ext1, int ext2, const std::string &str, const std::string &ovustr) = 0;
};

}  // namespace oriplayer
