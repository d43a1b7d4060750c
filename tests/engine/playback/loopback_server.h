#pragma once

// An HTTP server on 127.0.0.1 whose answers are as bad as a test wants them.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/clips.h"
#include "support/eventually.h"

namespace test {

/// The bytes of a clip, or of what belongs to one: a segment, a play list.
inline std::string clipBytes(const std::string &name) {
    const auto directory = std::filesystem::path(support::clip("vod.m3u8")).parent_path();
    std::ifstream file(directory / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// One request, and the way back.
class Connection {
public:
    Connection(int socket, std::string request) : head(std::move(request)), socket_(socket) {}

    std::string header(const std::string &name) const {
        const std::size_t at = head.find("\r\n" + name + ": ");
        if (at == std::string::npos) return {};
        const std::size_t begin = at + name.size() + 4;
        return head.substr(begin, head.find("\r\n", begin) - begin);
    }
    /// With its query.
    std::string target() const { return head.substr(4, head.find(' ', 4) - 4); }
    std::string path() const { return target().substr(0, target().find('?')); }
    /// The first byte that is wanted.
    std::size_t from() const {
        const std::string range = header("Range");
        return range.empty() ? 0 : std::stoul(range.substr(range.find('=') + 1));
    }
    bool send(const std::string &bytes) const {
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const auto count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (count <= 0) return false;
            sent += static_cast<std::size_t>(count);
        }
        return true;
    }
    /// False as soon as the other side, or the server, is gone.
    bool pause(int ms) const {
        pollfd gone{socket_, POLLIN, 0};
        return poll(&gone, 1, ms) == 0;
    }
    void silence() const {
        while (pause(1000)) {}
    }
    /// The connection ends without a farewell.
    void reset() const {
        const linger none{1, 0};
        setsockopt(socket_, SOL_SOCKET, SO_LINGER, &none, sizeof none);
    }

    const std::string head;

private:
    const int socket_;
};

using Answer = std::function<void(const Connection &)>;

inline Answer answer(const std::string &body, const std::string &status = "200 OK", const std::string &headers = {}) {
    return [=](const Connection &connection) {
        connection.send("HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: " + std::to_string(body.size()) +
                        "\r\nConnection: close\r\n\r\n" + body);
    };
}

inline Answer redirect(const std::string &to) {
    return answer({}, "302 Found", "Location: " + to + "\r\n");
}

/// A file that is given from any byte on, up to one behind which nothing more comes. Members may change at any time.
class Film {
public:
    enum class End { kSilence, kClose, kReset };

    explicit Film(std::string body) : body_(std::move(body)) {}
    std::size_t size() const { return body_.size(); }

    void operator()(const Connection &connection) {
        const std::size_t from = ranges ? connection.from() : 0;
        const std::string last = std::to_string(size() - 1) + '/' + std::to_string(size());
        std::string head = ranges ? "HTTP/1.1 206 Partial Content\r\n" : "HTTP/1.1 200 OK\r\n";
        if (ranges) head += "Content-Range: bytes " + std::to_string(from) + '-' + last + "\r\n";
        head += "Content-Length: " + std::to_string(size() - from) + "\r\n\r\n";
        if (!connection.send(head)) return;
        for (std::size_t place = from; place < size();) {
            while (place >= limit && end == End::kSilence) {
                if (!connection.pause(5)) return;
            }
            const std::size_t until = limit;
            if (place >= until && end == End::kReset) connection.reset();
            if (place >= until || !connection.pause(pauseMs)) return;
            const std::size_t most = pauseMs > 0 ? 1500 : SIZE_MAX;
            const std::string piece = body_.substr(place, std::min(until - place, most));
            if (!connection.send(piece)) return;
            place += piece.size();
        }
    }

    std::atomic<std::size_t> limit{SIZE_MAX};
    std::atomic<End> end{End::kSilence};
    std::atomic<bool> ranges{true};
    std::atomic<int> pauseMs{0};  ///< in front of each 1,500 bytes

private:
    const std::string body_;
};

/// Answers a path as `on` says, else with the file of the clips that has its name, else with 404. Each connection has a
/// thread until its answer is complete. What answers refer to outlives the server: declare it before.
class LoopbackServer {
public:
    LoopbackServer() {
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        bind(listener_, reinterpret_cast<sockaddr *>(&address), size);
        listen(listener_, 32);
        getsockname(listener_, reinterpret_cast<sockaddr *>(&address), &size);
        port_ = ntohs(address.sin_port);
        acceptor_ = std::thread([this] { run(); });
    }
    ~LoopbackServer() {
        shutdown(listener_, SHUT_RDWR);
        acceptor_.join();
        close(listener_);
        std::unique_lock lock(mutex_);
        for (const int connection : open_) shutdown(connection, SHUT_RDWR);
        gone_.wait(lock, [this] { return serving_ == 0; });
    }

    void on(const std::string &path, Answer answer) {
        const std::lock_guard lock(mutex_);
        answers_[path] = std::move(answer);
    }
    std::string address() const { return "127.0.0.1:" + std::to_string(port_); }
    std::string url(const std::string &path = "/film") const { return "http://" + address() + path; }
    int port() const { return port_; }
    /// The heads of all requests so far, in order.
    std::vector<std::string> requests() {
        const std::lock_guard lock(mutex_);
        return requests_;
    }
    bool awaitRequests(std::size_t count) {
        return support::eventually([&] { return requests().size() >= count; });
    }
    std::size_t open() {
        const std::lock_guard lock(mutex_);
        return open_.size();
    }

private:
    void run() {
        for (;;) {
            const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection < 0) return;
            const std::lock_guard lock(mutex_);
            open_.insert(connection);
            ++serving_;
            std::thread([this, connection] { serve(connection); }).detach();
        }
    }

    void serve(int socket) {
        std::string head;
        char buffer[4096];
        while (head.find("\r\n\r\n") == std::string::npos) {
            const auto count = recv(socket, buffer, sizeof buffer, 0);
            if (count <= 0) break;
            head.append(buffer, static_cast<std::size_t>(count));
        }
        if (head.starts_with("GET ")) answerTo(Connection(socket, head));
        const std::lock_guard lock(mutex_);
        open_.erase(socket);
        close(socket);
        --serving_;
        gone_.notify_all();  // with the lock: who waits for it ends the server
    }

    void answerTo(const Connection &connection) {
        std::unique_lock lock(mutex_);
        requests_.push_back(connection.head);
        const auto found = answers_.find(connection.path());
        const Answer own = found != answers_.end() ? found->second : nullptr;
        lock.unlock();
        if (own) return own(connection);
        const std::string body = clipBytes(connection.path().substr(1));
        if (body.empty()) return answer({}, "404 Not Found")(connection);
        Film film(body);
        film(connection);
    }

    int listener_ = -1;
    int port_ = 0;
    std::mutex mutex_;
    std::map<std::string, Answer> answers_;  ///< guarded by mutex_, like all below
    std::vector<std::string> requests_;
    std::set<int> open_;
    int serving_ = 0;
    std::condition_variable gone_;
    std::thread acceptor_;
};

}  // namespace test
