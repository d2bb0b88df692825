#include "apps/vellora/command/Keys.h"

#include <algorithm>
#include <string_view>

#include "vellora/Platform/Text/Utf8.h"

namespace vellora::command {

namespace {

bool isText(std::string_view key) {
  while (!key.empty()) {
    const Utf8Character character = firstCharacter(key);
    if (character.codePoint == Utf8Character::replacement && character.length == 1) return false;
    key.remove_prefix(character.length);
  }
  return true;
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
