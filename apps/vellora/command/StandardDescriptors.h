#pragma once

namespace vellora::command {

/// Opens those of standard input, output and error that whoever started the command left closed. Call it
/// first of all: else the next file that is opened takes the free number, and output goes into a cache or a
/// log. Each is opened the wrong way round, so that reading and writing fail as they do where nothing is
/// open; only standard error swallows what is written. False when the machine gives no descriptor for it.
[[nodiscard]] bool openStandardDescriptors();

}  // namespace vellora::command
