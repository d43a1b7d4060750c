#pragma once

// An HTTP server of one file on 127.0.0.1 that can fall silent: it answers the first request, sends `bytes` bytes of
// the file at most and then keeps the connection open without a word.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test {

class LoopbackServer {
public:
    enum class Manner { kServe, kSilent };

    /// kSilent accepts and never answers.
    explicit LoopbackServer(Manner manner, const std::string &file = {}, std::size_t bytes = SIZE_MAX)
        : manner_(manner), limit_(bytes) {
        if (!file.empty()) {
            std::ifstream stream(file, std::ios::binary);
            content_.assign(std::istreambuf_iterator<char>(stream), {});
        }
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bind(listener_, reinterpret_cast<sockaddr *>(&address), sizeof address);
        listen(listener_, 8);
        socklen_t size = sizeof address;
        getsockname(listener_, reinterpret_cast<sockaddr *>(&address), &size);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { run(); });
    }
    ~LoopbackServer() {
        ending_ = true;
        thread_.join();
        for (const int connection : connections_) close(connection);
        close(listener_);
    }

    int port() const { return port_; }
    std::string url(const std::string &path = "clip") const {
        return "http://127.0.0.1:" + std::to_string(port_) + "/" + path;
    }
    int requests() const { return requests_; }
    std::string firstRequest() {
        const std::lock_guard lock(mutex_);
        return firstRequest_;
    }

private:
    void run() {
        while (!ending_) {
            pollfd waiting{listener_, POLLIN, 0};
            if (poll(&waiting, 1, 10) <= 0) continue;
            const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection < 0) continue;
            connections_.push_back(connection);
            const std::string request = read(connection);
            {
                const std::lock_guard lock(mutex_);
                if (requests_++ == 0) firstRequest_ = request;
            }
            if (manner_ == Manner::kServe) answer(connection);
        }
    }

    std::string read(int connection) const {
        std::string request;
        char buffer[4096];
        while (!ending_ && request.find("\r\n\r\n") == std::string::npos) {
            pollfd waiting{connection, POLLIN, 0};
            if (poll(&waiting, 1, 10) <= 0) continue;
            const auto count = recv(connection, buffer, sizeof buffer, 0);
            if (count <= 0) break;
            request.append(buffer, static_cast<std::size_t>(count));
        }
        return request;
    }

    void answer(int connection) {
        std::string reply = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(content_.size()) + "\r\n\r\n";
        reply += content_.substr(0, limit_);
        std::size_t sent = 0;
        while (!ending_ && sent < reply.size()) {
            const auto count = send(connection, reply.data() + sent, reply.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (count > 0) {
                sent += static_cast<std::size_t>(count);
            } else {
                pollfd waiting{connection, POLLOUT, 0};
                poll(&waiting, 1, 10);
                if ((waiting.revents & (POLLERR | POLLHUP)) != 0) return;
            }
        }
    }

    const Manner manner_;
    const std::size_t limit_;
    std::string content_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> ending_{false};
    std::atomic<int> requests_{0};
    std::vector<int> connections_;
    std::mutex mutex_;
    std::string firstRequest_;
    std::thread thread_;
};

}  // namespace test
