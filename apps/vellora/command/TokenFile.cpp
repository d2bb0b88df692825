#include "apps/vellora/command/TokenFile.h"

#include <cstddef>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>

#include "hostkit/network/CurlNetwork.h"

namespace vellora::command {

std::variant<std::optional<std::string>, Problem> readToken(const std::optional<std::string>& file,
                                                            const std::optional<std::string>& name) {
  if (!file) return std::nullopt;
  const std::string shown = name ? *name : "the token file " + *file;
  std::ifstream stream;
  if (*file != "-") stream.open(*file, std::ios::binary);
  auto& in = *file == "-" ? std::cin : stream;
  const auto unreadable = Problem{ExitCode::usage, "cannot read " + shown};
  if (!in) return unreadable;
  constexpr std::size_t longest = hostkit::CurlNetwork::longestToken;
  constexpr std::size_t lineEnd = 2;
  std::string token;
  for (char next = 0; token.size() <= longest + lineEnd && in.get(next);) token += next;
  if (in.bad()) return unreadable;  // a folder, for instance, can be opened
  while (token.ends_with('\n') || token.ends_with('\r')) token.pop_back();
  if (token.empty()) return Problem{ExitCode::usage, "there is no token in " + (name ? *name : *file)};
  if (token.size() > longest) {
    return Problem{ExitCode::usage, "what is in " + (name ? *name : *file) +
                                        " is too long for a token: of more than " + std::to_string(longest) +
                                        " characters"};
  }
  return std::optional(std::move(token));
}

}  // namespace vellora::command
