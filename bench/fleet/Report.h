#pragma once

#include <string>
#include <utility>
#include <vector>

#include "bench/fleet/Study.h"

namespace vellora::fleet {

/// The tables of docs/scale.md, in Markdown.
[[nodiscard]] std::string tables(Study& study);

/// The pictures of docs/scale.md as SVG, each with the name of its file.
[[nodiscard]] std::vector<std::pair<std::string, std::string>> pictures(Study& study);

}  // namespace vellora::fleet
