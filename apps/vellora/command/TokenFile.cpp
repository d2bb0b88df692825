#include "apps/vellora/command/TokenFile.h"

#include <fstream>
#include <iostream>
#include <utility>

namespace vellora::command {

std::variant<std::optional<std::string>, Problem> readToken(const std::optional<std::string>& file) {
  if (!file) return std::nullopt;
  std::ifstream stream;
  if (*file != "-") stream.open(*file, std::ios::binary);
  auto& in = *file == "-" ? std::cin : stream;
  const auto unreadable = Problem{ExitCode::usage, "cannot read the token file " + *file};
  if (!in) return unreadable;
  std::string token;
  for (char next = 0; in.get(next);) token += next;
  if (in.bad()) return unreadable;  // a folder, for instance, can be opened
  while (token.ends_with('\n') || token.ends_with('\r')) token.pop_back();
  if (token.empty()) return Problem{ExitCode::usage, "there is no token in " + *file};
  return std::optional(std::move(token));
}

}  // namespace vellora::command
