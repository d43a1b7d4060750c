#pragma once

#include <optional>

namespace oriplayer {
class IOriPlayer;
}

namespace vexo {

struct DownloadReading {
    double bytesPerSecond;
    int status;  ///< above 0 while something is downloaded
};

/// What the engine says of the player's download. Empty, with a line in the log, without a player or an answer.
std::optional<DownloadReading> readDownload(oriplayer::IOriPlayer *player);

/// The whole part of a number, from 0 to the largest int.
int wholeNumber(double value);

}  // namespace vexo
