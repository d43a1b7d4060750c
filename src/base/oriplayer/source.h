#pragma once

#include <memory>
#include <string>

#include "interface/export.h"

namespace oriplayer {

/// One source of a period: a list of URLs for the same content, each with its declared length. The first URL is played.
/// The operations of this class do nothing and return -1, null or 0, so that a class can derive from it and override
/// only some; create() returns an object that implements them.
///
/// Threads:  any; the object from create() locks internally.
class ORI_API ISource {
public:
    /// `durationSeconds` 0.0 means not declared: getDuration() of a local regular file then asks the file, once.
    static std::shared_ptr<ISource> create(const char *url, double durationSeconds);

    virtual ~ISource();
    /// Returns the number of URLs then held, -1 for a null url.
    virtual int addUrl(const char *url, double durationSeconds);
    /// Null past the end. Valid as long as the source.
    virtual const char *getUrl(int index);
    /// 0, or -1 past the end (`url` is unchanged).
    virtual int getUrl(int index, std::string &url);
    /// 0, or -1 past the end (`*seconds` is unchanged) or if `seconds` is null. An unknown length is 0.0.
    virtual int getDuration(int index, double *seconds);
    virtual int getSize();

protected:
    ISource();
};

}  // namespace oriplayer
