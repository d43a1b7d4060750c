#pragma once

#include "base/protocols/reporter.h"
#include "interface/export.h"

namespace VexoPlayerNS {

/// Forwards the reports of engine players to the report channel, as JSON objects. Thread: any; it has no state.
class VEXO_API VexoReporter : public protocols::IReporter {
public:
    /// Sends the report and returns true if `msgId` is a category (0 all, 1 impairment, 2 error). If a key of `values`
    /// has the name of a fixed member, it replaces that member.
    bool report(std::string moduleName, int64_t periodId, int msgId,
                std::map<std::string, std::string> &values) override;
};

}  // namespace VexoPlayerNS
