#pragma once

#include "base/protocols/reporter.h"
#include "interface/export.h"

namespace VexoPlayerNS {

/// Passes the reports of engine players on to the report channel, as JSON objects. Thread: any; it keeps nothing.
class VEXO_API VexoReporter : public protocols::IReporter {
public:
    /// True if `msgId` names a category (0 all, 1 impairment, 2 error), so that the report went out. A key of `values`
    /// named like a fixed member takes its place.
    bool report(std::string moduleName, int64_t periodId, int msgId,
                std::map<std::string, std::string> &values) override;
};

}  // namespace VexoPlayerNS
