#include "subtitle/subtitle_module.h"

#include <dlfcn.h>

#include <mutex>

namespace oriplayer {
namespace {

constexpr const char *kFile = ORI_SUBTITLE_MODULE;

// The folder of the library that this code is in, with its slash; empty if the system does not tell.
std::string ownFolder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void *>(&subtitleModule), &info) == 0 || !info.dli_fname) return {};
    const std::string path = info.dli_fname;
    return path.substr(0, path.rfind('/') + 1);
}

OpenSubtitles load(MediaError &error) {
    void *module = nullptr;
    const std::string folder = ownFolder();
    if (!folder.empty()) module = dlopen((folder + kFile).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) module = dlopen(kFile, RTLD_NOW | RTLD_LOCAL);
    void *const found = module ? dlsym(module, kOpenSubtitlesName) : nullptr;
    if (!found) {
        const char *why = dlerror();
        error = {AVERROR(ENOENT), std::string("opening the module for subtitles: ") + (why ? why : kFile)};
    }
    return reinterpret_cast<OpenSubtitles>(found);
}

}  // namespace

OpenSubtitles subtitleModule(MediaError &error) {
    static std::mutex mutex;
    static OpenSubtitles open = nullptr;
    const std::lock_guard lock(mutex);
    if (!open) open = load(error);
    return open;
}

}  // namespace oriplayer
