#pragma once

#include <cstdio>

namespace vexo {

/// The system's processor times since it started, in its clock ticks, in the order of the aggregate line of /proc/stat.
struct CpuStatInfo {
    long user;
    long nice;
    long system;
    long idle;
    long iowait;
    long irq;
    long softirq;
    int cpu_count;  ///< per-processor lines seen
};

/// Reads /proc/stat. 0; -1 for a null `info` or without a readable aggregate line.
int getCpuInfo(CpuStatInfo *info);

/// The same from a stream that the caller opened and closes.
int ReadCpuInfo(std::FILE *file, CpuStatInfo *info);

/// Reads one line in upper case, without carriage returns and its line feed, cut to `size` - 1 characters (the rest is
/// the next line). Returns the characters stored; `buffer` always ends in a zero byte.
int ReadUpperLine(std::FILE *file, char *buffer, int size);

}  // namespace vexo
