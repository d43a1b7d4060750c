#pragma once

#include "input/source_input.h"

namespace oriplayer {

/// Indexes into AVFormatContext::streams, -1 for none.
struct StreamChoice {
    int video = -1;
    int audio = -1;
};

/// Picks what is played and discards everything else in the container: streams that nobody decodes are not read where
/// the container allows it (the other variants of an HLS list are not even fetched).
StreamChoice chooseStreams(AVFormatContext &container, const InputOptions &options);

}  // namespace oriplayer
