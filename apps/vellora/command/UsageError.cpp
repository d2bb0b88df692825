#include "apps/vellora/command/UsageError.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>

#include "apps/vellora/command/NearestName.h"

namespace vellora::command {

namespace {

constexpr std::size_t longestName = 20;

/// Whether it reads as the commands and options do: lower-case letters and hyphens, and not many.
bool isNameLike(std::string_view word) {
  const auto isPlain = [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; };
  return !word.empty() && word.size() <= longestName && std::all_of(word.begin(), word.end(), isPlain);
}

bool isOption(std::string_view word) {
  return word.size() > 1 && word.starts_with('-');
}

std::string joined(const std::vector<std::string>& words, const char* between) {
  std::string text;
  for (const auto& word : words) text.append(text.empty() ? "" : between).append(word);
  return text;
}

std::string meant(const std::optional<std::string>& name, const std::string& before = {}) {
  return name ? "; did you mean " + before + *name + "?" : std::string();
}

std::string_view withoutHyphens(std::string_view option) {
  return option.substr(std::min(option.size(), option.find_first_not_of('-')));
}

/// The hyphens are right in every option, and so they bring none nearer.
std::vector<std::string> withoutHyphens(const std::vector<std::string>& options) {
  std::vector<std::string> names;
  names.reserve(options.size());
  for (const auto& option : options) names.emplace_back(withoutHyphens(option));
  return names;
}

std::string unknownOption(std::string_view word, const MisreadLine& line) {
  const auto name = word.substr(0, word.find('='));
  if (!isNameLike(name)) return "there is an option that vellora does not know";
  const std::string text = "there is no option " + std::string(name);
  // The command line can be read by every user of the machine.
  if (name == "--token") return text + "; put the token into a file, and give --token-file FILE";
  return text + meant(nearestName(withoutHyphens(name), withoutHyphens(line.options)), "--");
}

std::string unknownCommand(std::string_view word, const MisreadLine& line) {
  const std::string before = line.path.empty() ? "" : joined(line.path, " ") + " ";
  if (!isNameLike(word)) return "there is a word where a command should be";
  return "there is no command " + before + std::string(word) +
         meant(nearestName(word, line.commands), before);
}

std::string withoutUnknownWords(const MisreadLine& line) {
  if (line.commands.empty()) return "the command line cannot be understood";
  const std::string behind = line.path.empty() ? "" : " behind " + joined(line.path, " ");
  return "a command is missing" + behind + ": " + joined(line.commands, ", ");
}

}  // namespace

std::string usageError(const MisreadLine& line) {
  if (line.unknown.empty()) return line.complaint.empty() ? withoutUnknownWords(line) : line.complaint;
  const std::string& first = line.unknown.front();
  if (isOption(first)) return unknownOption(first, line);
  if (!line.commands.empty()) return unknownCommand(first, line);
  const std::string place = line.path.empty() ? "" : " before or behind " + joined(line.path, " ");
  return "there is a word too many" + place;
}

}  // namespace vellora::command
