#include "apps/vellora/Keys.h"

namespace vellora::command {

std::vector<std::string> keysToLookUp(const Arguments& arguments, std::istream& input) {
  if (!arguments.readsKeys()) return arguments.keys;
  std::vector<std::string> keys;
  for (std::string line; std::getline(input, line);) {
    if (line.ends_with('\r')) line.pop_back();
    if (!line.empty()) keys.push_back(std::move(line));
  }
  return keys;
}

}  // namespace vellora::command
