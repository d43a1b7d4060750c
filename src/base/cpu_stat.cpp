#include "base/cpu_stat.h"

#include <cstring>
#include <memory>

#include "base/log.h"

namespace vexo {
namespace {

constexpr int kLineSize = 1024;
constexpr std::size_t kShortestCpuText = 6;  // less cannot hold a name and a number

bool ReadTimes(const char *numbers, CpuStatInfo &info) {
    const int read = std::sscanf(numbers, "%ld %ld %ld %ld %ld %ld %ld", &info.user, &info.nice, &info.system,
                                 &info.idle, &info.iowait, &info.irq, &info.softirq);
    VEXO_PRINT(LOG_DEBUG, "[%ld],[%ld],[%ld],[%ld],[%ld],[%ld],[%ld]", info.user, info.nice, info.system, info.idle,
               info.iowait, info.irq, info.softirq);
    return read > 0;
}

}  // namespace

int getCpuInfo(CpuStatInfo *info) {
    if (info == nullptr) {
        VEXO_PRINT(LOG_INFO, "getCpuInfo error, invalid parameters\n");
        return -1;
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen("/proc/stat", "r"), &std::fclose);
    if (!file) {
        VEXO_PRINT(LOG_INFO, "getCpuInfo error, cannot open cpu stat file\n");
        return -1;
    }
    return ReadCpuInfo(file.get(), info);
}

int ReadCpuInfo(std::FILE *file, CpuStatInfo *info) {
    *info = {};
    int result = -1;
    char line[kLineSize];
    while (!std::feof(file) && !std::ferror(file)) {
        ReadUpperLine(file, line, kLineSize);
        const char *cpu = std::strstr(line, "CPU");
        if (cpu == nullptr || std::strlen(cpu) < kShortestCpuText) continue;
        VEXO_PRINT(LOG_DEBUG, "%s", cpu);
        const char *behind = cpu + std::strlen("CPU");
        if (*behind != ' ')
            ++info->cpu_count;
        else if (ReadTimes(behind, *info))
            result = 0;
    }
    return result;
}

int ReadUpperLine(std::FILE *file, char *buffer, int size) {
    if (size < 1) return 0;
    int stored = 0;
    while (stored < size - 1) {
        const int c = std::fgetc(file);
        if (c == EOF || c == '\n') break;
        if (c == '\r') continue;
        // Not toupper: the locale must not change which letters are folded.
        buffer[stored++] = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    }
    buffer[stored] = '\0';
    return stored;
}

}  // namespace vexo
