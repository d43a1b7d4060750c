#include "module/domain_callback.h"

#include <atomic>

namespace oriplayer {
namespace {

std::atomic<NetworkSwitchDomainCB> sCallback{nullptr};

}  // namespace

NetworkSwitchDomainCB networkSwitchDomainCallback() {
    return sCallback;
}

void setNetworkSwitchDomainCB(NetworkSwitchDomainCB callback) {
    sCallback = callback;
}

}  // namespace oriplayer
