#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

/// What every C++ file under `root` includes against the arrows of the rooms, one line each, "file: included, reason".
/// `installed` names the headers that applications see, relative to src/.
std::vector<std::string> includesAgainstTheArrows(const std::filesystem::path &root,
                                                  const std::set<std::string> &installed);
