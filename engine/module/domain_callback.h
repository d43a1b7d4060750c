#pragma once

#include "base/oriplayer/module.h"

namespace oriplayer {

/// The function to ask for domains after a network change, or null. Thread: any.
NetworkSwitchDomainCB networkSwitchDomainCallback();

}  // namespace oriplayer
