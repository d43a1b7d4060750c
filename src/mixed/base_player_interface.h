#pragma once

#include <cstdint>
#include <memory>

#include "base/oriplayer/period.h"
#include "base/oriplayer/string_map.h"
#include "interface/export.h"

namespace vexo {

/// What a player offers to callers that name periods by an id of their own.
class VEXO_API BasePlayerInterface {
public:
    virtual int changePeriodById(int component, int64_t id, const std::shared_ptr<oriplayer::IPeriod> &period,
                                 const std::shared_ptr<oriplayer::StringMap> &options) = 0;
    virtual int delPeriodById(int component, int64_t id) = 0;

protected:
    BasePlayerInterface() = default;
    ~BasePlayerInterface() = default;  // not deleted through this class
};

}  // namespace vexo
