#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

/// A listening socket on 127.0.0.1 with a behaviour that no decent server has: what `behave` does with a connection is
/// all that happens to it; connections stay open until the end.
class Loopback {
public:
    using Behaviour = std::function<void(int connection)>;

    explicit Loopback(Behaviour behave) : behave_(std::move(behave)) {
        listener_ = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *generic = reinterpret_cast<sockaddr *>(&address);
        if (bind(listener_, generic, size) != 0 || listen(listener_, 8) != 0) throw std::runtime_error("no socket");
        getsockname(listener_, generic, &size);
        port_ = ntohs(address.sin_port);
        acceptor_ = std::thread([this] { acceptAll(); });
    }

    ~Loopback() {
        shutdown(listener_, SHUT_RDWR);
        acceptor_.join();
        close(listener_);
        for (int connection : connections_) close(connection);
    }

    std::string url(const std::string &path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }

    /// Until a connection has been through `behave`.
    void awaitServed() {
        std::unique_lock<std::mutex> lock(mutex_);
        served_.wait_for(lock, std::chrono::seconds(20), [this] { return count_ > 0; });
    }

private:
    void acceptAll() {
        for (;;) {
            const int connection = accept(listener_, nullptr, nullptr);
            if (connection < 0) return;
            behave_(connection);
            std::lock_guard<std::mutex> lock(mutex_);
            connections_.insert(connection);
            ++count_;
            served_.notify_all();
        }
    }

    Behaviour behave_;
    int listener_ = -1;
    uint16_t port_ = 0;
    std::mutex mutex_;
    std::condition_variable served_;
    int count_ = 0;
    std::set<int> connections_;
    std::thread acceptor_;
};

/// Reads a request and answers with the head of a file of `size` bytes, sends `body`, and then nothing any more.
inline void answerAndStall(int connection, std::size_t size, const std::string &body) {
    char request[4096];
    if (recv(connection, request, sizeof request, 0) <= 0) return;
    const std::string head =
        "HTTP/1.1 200 OK\r\nContent-Type: video/mp2t\r\nContent-Length: " + std::to_string(size) + "\r\n\r\n";
    const std::string all = head + body;
    for (std::size_t sent = 0; sent < all.size();) {
        const ssize_t n = send(connection, all.data() + sent, all.size() - sent, MSG_NOSIGNAL);
        if (n <= 0) return;
        sent += static_cast<std::size_t>(n);
    }
}
