#pragma once

#include <string>
#include <utility>
#include <vector>

#include "bench/fleet/Costs.h"
#include "bench/fleet/Study.h"

namespace vellora::fleet {

/// All tables of docs/scale.md, in Markdown, with their headings.
[[nodiscard]] std::string tables(Study& study);

/// What one request costs.
[[nodiscard]] std::string costTable(const Costs& costs);

/// What becomes of the bodies that are kept, for apps that ask on condition: the day of a release and the day
/// a week later, on which all that came then is too old at once.
[[nodiscard]] std::string weekTable(Study& study);

/// What a server for half as much again as an ordinary day needs refuses on the other days; and how many
/// processors the refusals would take if it made them itself.
[[nodiscard]] std::string limitTable(Study& study);

/// The pictures of docs/scale.md as SVG, each with the name of its file.
[[nodiscard]] std::vector<std::pair<std::string, std::string>> pictures(Study& study);

}  // namespace vellora::fleet
