#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace protocols {

/// Takes an engine player's reports, on the engine's threads, several at once.
class IReporter {
public:
    virtual ~IReporter() = default;
    /// True if the report went on its way.
    virtual bool report(std::string moduleName, int64_t periodId, int msgId,
                        std::map<std::string, std::string> &values) = 0;
};

}  // namespace protocols
