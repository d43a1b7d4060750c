#pragma once

#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace test {

/// Serves one file by range on a port of its own, until it is told to stop in the middle of what it sends.
class RangeServer {
public:
    explicit RangeServer(const std::string &path) {
        std::ifstream file(path, std::ios::binary);
        content_.assign(std::istreambuf_iterator<char>(file), {});
        server_.new_task_queue = [] { return new httplib::ThreadPool(4); };
        server_.Get("/film", [this](const httplib::Request &request, httplib::Response &response) {
            host = request.get_header_value("Host");
            query = request.target;
            ++requests;  // behind what it publishes
            response.set_content_provider(content_.size(), "video/x-matroska",
                                          [this](std::size_t offset, std::size_t length, httplib::DataSink &sink) {
                                              return send(offset, length, sink);
                                          });
        });
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        while (!server_.is_running()) std::this_thread::yield();
    }
    ~RangeServer() {
        ending_ = true;
        server_.stop();
        thread_.join();
    }

    std::string address() const { return "127.0.0.1:" + std::to_string(port_); }
    std::string url() const { return "http://" + address() + "/film?id=7"; }
    std::size_t size() const { return content_.size(); }

    /// Bytes of the file behind which nothing more comes: silence, or the end of the connection.
    std::atomic<std::size_t> limit{SIZE_MAX};
    std::atomic<bool> closes{false};
    std::atomic<int> requests{0};
    std::atomic<std::size_t> lowest{SIZE_MAX};  ///< first byte that was sent from here
    std::string host, query;                    ///< of the last request; read behind `requests`

private:
    bool send(std::size_t offset, std::size_t length, httplib::DataSink &sink) {
        std::size_t from = lowest;
        while (offset < from && !lowest.compare_exchange_weak(from, offset)) {}
        while (offset >= limit && !closes) {
            if (ending_ || !sink.is_writable()) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        if (offset >= limit) return false;
        return sink.write(content_.data() + offset, std::min({length, limit - offset, std::size_t{4096}}));
    }

    std::string content_;
    httplib::Server server_;
    int port_ = 0;
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

}  // namespace test
