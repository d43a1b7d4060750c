#include "base/map_text.h"

#include <cstdlib>

#include "base/log.h"

namespace vexo {

void dumpMap(void *, int, const std::map<std::string, std::string> &map) {
    for (const auto &[key, value] : map) VEXO_PRINT(LOG_DEBUG, "\tkey:%s, value:%s\n", key.c_str(), value.c_str());
}

int GetMapInt(const std::map<std::string, std::string> &map, const char *key) {
    if (key == nullptr) return -1;
    const auto entry = map.find(key);
    return entry == map.end() ? -1 : std::atoi(entry->second.c_str());
}

std::string GetMapString(const std::map<std::string, std::string> &map, const char *key) {
    if (key == nullptr) return {};
    const auto entry = map.find(key);
    return entry == map.end() ? std::string{} : entry->second;
}

}  // namespace vexo
