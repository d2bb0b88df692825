#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vellora {

/// `names` in their order, with `separator` between each two: "Account,Contact".
[[nodiscard]] std::string joined(const std::vector<std::string>& names, std::string_view separator);

/// The same as a query lists them: "'Account','Contact'".
[[nodiscard]] std::string quoted(const std::vector<std::string>& names);

}  // namespace vellora
