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

/// Whether the command prints what it finds row by row, so that rows can have columns.
[[nodiscard]] bool printsRows(const Arguments& arguments);

/// Whether the command can print in the form that it was told.
[[nodiscard]] bool hasFormat(const Arguments& arguments);

/// Whether columns can be chosen, or none were.
[[nodiscard]] bool hasColumns(const Arguments& arguments);

/// Whether `vellora cache` is to look after every file that is kept by default. Purging keeps to the server,
/// or the file, that was given.
[[nodiscard]] bool isAboutEveryFile(const Arguments& arguments);

}  // namespace vellora::command
