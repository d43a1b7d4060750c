#pragma once

#include <map>
#include <string>

namespace vexo {

/// Prints every pair of the map, in key order, at LOG_DEBUG. The first two arguments are not used.
void dumpMap(void *context, int tag, const std::map<std::string, std::string> &map);

/// The value under `key` as a number, 0 if it is none; -1 if `key` is null or absent.
int GetMapInt(const std::map<std::string, std::string> &map, const char *key);

/// The value under `key`, empty if `key` is null or absent.
std::string GetMapString(const std::map<std::string, std::string> &map, const char *key);

}  // namespace vexo
