#include "apps/vellora/command/Keys.h"

#include <algorithm>

#include "vellora/Platform/Json/Json.h"

namespace vellora::command {

namespace {

// JSON holds a text exactly when it is UTF-8.
bool isText(const std::string& key) {
  return json::encode(key).hasValue();
}

}  // namespace

std::vector<std::string> keysToLookUp(const Arguments& arguments, std::istream& input) {
  if (!arguments.readsKeys()) return arguments.keys;
  std::vector<std::string> keys;
  for (std::string line; std::getline(input, line);) {
    if (line.ends_with('\r')) line.pop_back();
    if (!line.empty()) keys.push_back(std::move(line));
  }
  return keys;
}

std::optional<std::string> keyThatIsNoText(const std::vector<std::string>& keys) {
  const auto found = std::find_if_not(keys.begin(), keys.end(), isText);
  return found == keys.end() ? std::nullopt : std::optional(*found);
}

}  // namespace vellora::command
