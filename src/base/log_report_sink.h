#pragma once

namespace vexo {

/// The log function that players install: sends a line to the report channel, the text under "msg", `tag`, if there is
/// one, under "tag". Of a longer text the first 4094 bytes arrive. Text that is no format goes through "%s".
/// Thread: any; the channel is called on it.
[[gnu::format(printf, 2, 3)]] void VexoLogReportSink(const char *tag, const char *format, ...);

}  // namespace vexo
