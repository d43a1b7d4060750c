#pragma once

#include <string>

#include "subtitle/subtitle_drawer.h"

namespace oriplayer {

/// The module's function. The module is opened with the first call that finds it, and stays: what draws text costs
/// about 10 MiB, which only those pay who ask for subtitles. It lies beside this library, or where the system looks
/// for libraries. Null with `error` set if there is none or it does not fit.
/// Thread: any.
OpenSubtitles subtitleModule(MediaError &error);

}  // namespace oriplayer
