// network_change URL WIFI MOBILE: plays a download, and changes to the mobile network at its first picture. WIFI and
// MOBILE are lists of hosts, "host:port,host:port".
#include <atomic>
#include <cstdio>
#include <future>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "base/protocols/configure.h"
#include "mixed/mixed_codecs_player.h"

using namespace oriplayer;

// The configuration of the application. Keys, namespaces and values: docs/network.md.
class Network : public protocols::IConfigure {
public:
    std::string getConfig(std::string, std::string, std::string defaultValue) override { return defaultValue; }
    std::string getLocalConfig(std::string, std::string key, std::string defaultValue) override {
        return key == "network_type" ? (mobile_ ? "1" : "0") : defaultValue;
    }
    void addListener(std::string, std::string, protocols::ConfigureListener *listener) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        listeners_.insert(listener);
    }
    void removeListener(std::string, std::string, protocols::ConfigureListener *listener) override {
        const std::lock_guard<std::mutex> lock(mutex_);  // waits for an update that is being delivered
        listeners_.erase(listener);
    }

    void becomeMobile() {
        mobile_ = true;
        const std::lock_guard<std::mutex> lock(mutex_);
        for (auto *listener : listeners_) listener->OnConfigUpdate("system_info", {{"network_type", "1"}});
    }

private:
    std::atomic<bool> mobile_{false};
    std::mutex mutex_;
    std::set<protocols::ConfigureListener *> listeners_;
};

class Listener : public IOriPlayerListener {
public:
    explicit Listener(std::shared_ptr<Network> network) : network_(std::move(network)) {}
    std::future<bool> end() { return end_.get_future(); }

    void notify(long long, int msg, int, int, const Param &) override {
        if (msg == 1017) network_->becomeMobile();  // the download continues from the mobile hosts
        const bool failed = msg >= 501 && msg <= 504;
        if ((msg == 1001 || failed) && !finished_.exchange(true)) end_.set_value(!failed);
    }
    void notify(int, int, int, const std::string &, const std::string &) override {}

private:
    const std::shared_ptr<Network> network_;
    std::promise<bool> end_;
    std::atomic<bool> finished_{false};
};

int main(int count, char **arguments) {
    if (count != 4) {
        std::fprintf(stderr, "usage: network_change URL WIFI MOBILE\n");
        return 1;
    }
    auto headers = std::make_shared<StringMap>();
    headers->add("cdn_wifi_domain", arguments[2]);
    headers->add("cdn_4g_domain", arguments[3]);
    auto period = IPeriod::create();
    period->addSource(ISource::create(arguments[1], 0.0));
    period->setHeaders(headers);
    auto component = std::make_shared<PlayComponent>();
    component->playList = IPlayList::create();
    component->playList->addPeriod(period, -1);
    std::vector<std::shared_ptr<PlayComponent>> components{component};

    auto network = std::make_shared<Network>();
    auto listener = std::make_shared<Listener>(network);
    auto end = listener->end();
    auto player = vexo::MixedCodecsPlayer::create();
    player->setConfigure(network);
    player->setDataSource(components, 1, std::make_shared<StringMap>());
    player->setListener(listener);
    player->prepareAsync();
    player->start();

    const bool good = end.get();
    std::printf("%s\n", good ? "played to its end" : "failed");
    return good ? 0 : 2;
}
