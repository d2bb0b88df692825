#pragma once

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/ExitCode.h"

namespace vellora::command {

/// `vellora diff A B`: asks both sides through a catalogue and tells which types and layouts B has more, has
/// no more, or has otherwise, as a table, as one JSON document, or as a line for each property. Ends with
/// `answered` when both are alike, with 1 when they differ.
///
/// A file holds the layouts that were asked for, and no others. So of a file and a server those layouts are
/// compared that the file holds; of two files, all that either holds.
[[nodiscard]] ExitCode runDiff(const Arguments& arguments);

}  // namespace vellora::command
