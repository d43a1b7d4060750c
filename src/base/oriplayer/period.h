#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/oriplayer/source.h"
#include "base/oriplayer/string_map.h"
#include "interface/export.h"

namespace oriplayer {

/// What one engine player plays: one or more sources in turn, with options that travel with them.
/// The order of the virtual operations is the boundary's; reserved ones keep their slot and answer -1.
///
/// Start:    milliseconds; a new period answers 0, -1 means that playback does not begin in this period.
/// Headers:  setHeaders keeps a copy, getHeaders answers a fresh one (null if never set); hold it while reading.
/// Others:   tag, flag, kind, change mode and value are kept and given back; 0 or empty in a new period.
/// Threads:  any; it locks inside.
class ORI_API IPeriod {
public:
    static std::shared_ptr<IPeriod> create();

    virtual ~IPeriod();
    virtual int addSource(const std::shared_ptr<ISource> &source) = 0;
    /// Empty past the end.
    virtual std::shared_ptr<ISource> getSource(int index) = 0;
    virtual int reserved3() { return -1; }
    virtual int getSourceCount() = 0;
    /// 2 asks changePeriod for a running replacement.
    virtual void setChangeMode(int mode) = 0;
    virtual int getChangeMode() = 0;
    /// 1 is a source given by URL.
    virtual void setSourceKind(int kind) = 0;
    virtual int getSourceKind() = 0;
    virtual void setPeriodFlag(int flag) = 0;
    virtual int getPeriodFlag() = 0;
    virtual void setPeriodTag(std::string tag) = 0;
    virtual int reserved12() { return -1; }
    virtual std::string getPeriodTag() = 0;
    virtual int reserved14() { return -1; }
    virtual void setStartTime(int64_t startMs) = 0;
    virtual int64_t getStartTime() = 0;
    virtual int reserved17() { return -1; }
    virtual int reserved18() { return -1; }
    virtual void setHeaders(const std::shared_ptr<StringMap> &headers) = 0;
    virtual std::shared_ptr<StringMap> getHeaders() = 0;
    virtual void setPeriodValue(int64_t value) = 0;
    virtual int64_t getPeriodValue() = 0;
    /// Bit 0 asks for preloading.
    virtual void setPreloadMask(int64_t mask) = 0;
    virtual int64_t getPreloadMask() = 0;
    virtual void setMixedCodecs(bool mixed) = 0;
    /// True: every source is played by an engine player of its own. False in a new period.
    virtual bool isMixedCodecs() = 0;
};

}  // namespace oriplayer
