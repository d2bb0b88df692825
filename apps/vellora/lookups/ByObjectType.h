#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace vellora::command {

/// The layouts by their own object types; of two of one type the later one stands.
template <class Layout>
[[nodiscard]] std::map<std::string, Layout> byObjectType(std::vector<Layout> layouts) {
  std::map<std::string, Layout> byType;
  for (auto& layout : layouts) {
    std::string type = layout.objectType;
    byType.insert_or_assign(std::move(type), std::move(layout));
  }
  return byType;
}

}  // namespace vellora::command
