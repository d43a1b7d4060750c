#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "input/interrupter.h"
#include "input/source_input.h"

namespace oriplayer {

/// What lies under a demuxer: every file and connection that it opens goes through here, sub-requests of play lists
/// too. Gives each the request options, holds lists from the network off the local disk, counts bytes.
/// Threads:  one at a time. Outlives the AVFormatContext that it is attached to.
class Medium {
public:
    /// `url` is what the demuxer will be opened with.
    void attach(AVFormatContext &container, const std::string &url, const InputOptions &options);
    int64_t bytesRead() const;
    /// The demuxer is gone and its files with it.
    void detach() { open_.clear(); }
    bool network() const { return network_; }

private:
    static int open(AVFormatContext *container, AVIOContext **io, const char *url, int flags, AVDictionary **options);
    static int close(AVFormatContext *container, AVIOContext *io);
    void addRequestOptions(AVDictionary **options) const;

    using OpenFunction = int (*)(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **);
    using CloseFunction = int (*)(AVFormatContext *, AVIOContext *);
    OpenFunction defaultOpen_ = nullptr;
    CloseFunction defaultClose_ = nullptr;
    InputOptions options_;
    bool network_ = false;
    std::set<const AVIOContext *> open_;
    int64_t closedBytes_ = 0;
};

/// True for http: and https: URLs.
bool isHttp(const std::string &url);

}  // namespace oriplayer
