#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "input/http_stream.h"
#include "input/interrupter.h"
#include "input/pipe_stream.h"
#include "input/source_input.h"
#include "input/unlocked_body.h"

namespace oriplayer {

/// What lies under a demuxer: every file and connection that it opens goes through here, sub-requests of play lists
/// too. HTTP bodies are HttpStreams. Gives each the request options, holds lists from the network off the local disk,
/// counts bytes.
/// Threads:  one at a time. Outlives the AVFormatContext that it is attached to.
class Medium {
public:
    /// `url` is what the demuxer will be opened with; an HTTP body is opened at once and given to the container.
    /// 0 or an AVERROR.
    int attach(AVFormatContext &container, const std::string &url, const InputOptions &options);
    int64_t bytesRead() const;
    /// Without play lists: one that is asked for again and again while nothing is added is no progress.
    int64_t mediaBytes() const;
    /// The demuxer is gone and its files with it.
    void detach();
    /// Another route, for a new owner of what `url` has opened; while nobody reads.
    void takeRoute(const std::string &url, const std::shared_ptr<HostRoute> &route);
    bool network() const { return network_; }

    /// The container is open: from now on a body that cannot be read on, or not be opened, breaks the medium, so that
    /// a demuxer that would go over it to the next one comes to an end as well.
    void settle() { settled_ = true; }
    /// Why, an AVERROR; 0 if it is whole.
    int failure() const;
    /// Why the segment asked for last is not there, an AVERROR; 0 if it was. A demuxer goes over it to the next one:
    /// only at the end it is known that there was none.
    int missing() const { return missing_; }
    /// Behind a seek everything is tried anew.
    void mend();

private:
    static int open(AVFormatContext *container, AVIOContext **io, const char *url, int flags, AVDictionary **options);
    static int close(AVFormatContext *container, AVIOContext *io);
    int openHttp(AVIOContext **io, const char *url, const AVDictionary *given);
    int openLocked(AVIOContext **io, const char *url, AVDictionary *given);
    void present(HttpStream &stream, const char *url, const AVDictionary *given);
    void addRequestOptions(AVDictionary **options) const;
    std::string headersFor(const std::string &host) const;

    using OpenFunction = int (*)(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **);
    using CloseFunction = int (*)(AVFormatContext *, AVIOContext *);
    OpenFunction defaultOpen_ = nullptr;
    CloseFunction defaultClose_ = nullptr;
    InputOptions options_;
    AVIOInterruptCB interrupt_{};
    std::string host_;  ///< of the URL that the demuxer was opened with
    std::string protocols_;
    bool network_ = false;
    bool settled_ = false;
    int broken_ = 0;
    int missing_ = 0;
    std::set<const AVIOContext *> files_;
    std::unique_ptr<PipeStream> pipe_;
    std::map<const AVIOContext *, std::unique_ptr<HttpStream>> streams_;
    std::map<const AVIOContext *, std::unique_ptr<UnlockedBody>> unlocked_;
    int64_t closedBytes_ = 0;
    int64_t closedListBytes_ = 0;
};

/// True for http: and https: URLs.
bool isHttp(const std::string &url);

}  // namespace oriplayer
