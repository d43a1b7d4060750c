#pragma once

#include <memory>

#include "base/oriplayer/period.h"
#include "interface/export.h"

namespace oriplayer {

/// An ordered list of periods. Indexes outside the list are ignored everywhere.
/// Threads:  any; it locks inside.
class ORI_API IPlayList {
public:
    static std::shared_ptr<IPlayList> create();

    virtual ~IPlayList();
    /// `position` -1 appends, 0..getPeriodCount() inserts. 0, or -1 if ignored.
    virtual int addPeriod(const std::shared_ptr<IPeriod> &period, int position) = 0;
    virtual int replacePeriod(const std::shared_ptr<IPeriod> &period, int index) = 0;
    /// Empty outside the list.
    virtual std::shared_ptr<IPeriod> getPeriod(int index) = 0;
    virtual int removePeriod(int index) = 0;
    virtual int getPeriodCount() = 0;
};

}  // namespace oriplayer
