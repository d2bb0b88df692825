#pragma once

#include <fstream>
#include <iterator>
#include <string>

namespace vellora::tests {

/// What stands in a file of the tree; nothing where there is none.
inline std::string writtenFile(const std::string& path) {
  std::ifstream file(VELLORA_ROOT + ("/" + path), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace vellora::tests
