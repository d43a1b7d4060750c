#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace oriplayer {

/// Which hosts one player's HTTP requests go to after a change of network. The application names them in a text of
/// `host[:port]` entries separated by ','; they stand for the host of the URL that was playing when it was asked, and
/// for no other. Scheme, path and query of a URL stay; an entry without a port means the scheme's own.
///
/// Threads: any. Lock: mutex_, a leaf; version() is read without it.
class HostRoute {
public:
    /// What is being downloaded; empty while nothing is.
    void setUrl(const std::string &url);
    std::string url() const;

    /// Begins a question to the application; of several questions the last one's answer counts.
    int ask();
    /// False if it changes nothing: there is no usable entry, or a later question has begun.
    bool answer(int question, const std::string &domains);
    /// Grows with every answer that counts.
    uint32_t version() const { return version_; }

    /// The URLs to try in turn instead of `url`, at most kMostHosts; none if it stays where it is.
    std::vector<std::string> alternatives(const std::string &url) const;
    /// This one of alternatives() has answered: from now on it is the first.
    void prefer(const std::string &alternative);

    static constexpr std::size_t kMostHosts = 8;

private:
    mutable std::mutex mutex_;
    std::atomic<uint32_t> version_{0};
    int question_ = 0;  ///< guarded by mutex_, like all below
    std::string url_;
    std::string askedHost_;           ///< the host that the question was about
    std::string replacedHost_;        ///< the host that hosts_ stand for
    std::vector<std::string> hosts_;  ///< `host[:port]`
};

/// `host[:port]` of a URL, without user and password; empty if it has none.
std::string hostOf(const std::string &url);

}  // namespace oriplayer
