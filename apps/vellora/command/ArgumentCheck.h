#pragma once

#include <optional>
#include <string>

#include "apps/vellora/command/Arguments.h"

namespace vellora::command {

/// What is missing, contradicts itself or makes no sense in arguments whose words were all understood, and
/// what to do about it; no value when nothing is.
[[nodiscard]] std::optional<std::string> complaintAbout(const Arguments& arguments);

/// Whether the arguments' server matters, be it because its default cache is to be used.
[[nodiscard]] bool needsServer(const Arguments& arguments);

/// Whether `vellora cache` is to look after every file that is kept by default. Purging keeps to the server,
/// or the file, that was given.
[[nodiscard]] bool isAboutEveryFile(const Arguments& arguments);

}  // namespace vellora::command
