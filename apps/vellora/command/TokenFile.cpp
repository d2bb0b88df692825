#include "apps/vellora/command/TokenFile.h"

#include <cstddef>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>

#include "hostkit/network/CurlNetwork.h"

namespace vellora::command {

namespace {

using Read = std::variant<std::optional<std::string>, Problem>;

/// A file, and how it is spoken of.
struct Source {
  std::string file;
  std::string kind;    ///< "token"
  std::string name;    ///< "the token file FILE"
  std::string inside;  ///< the same where something is in it
};

Read readSecret(const Source& source) {
  std::ifstream stream;
  if (source.file != "-") stream.open(source.file, std::ios::binary);
  auto& in = source.file == "-" ? std::cin : stream;
  const auto unreadable = Problem{ExitCode::usage, "cannot read " + source.name};
  if (!in) return unreadable;
  constexpr std::size_t longest = hostkit::CurlNetwork::longestToken;
  constexpr std::size_t lineEnd = 2;
  std::string secret;
  for (char next = 0; secret.size() <= longest + lineEnd && in.get(next);) secret += next;
  if (in.bad()) return unreadable;  // a folder, for instance, can be opened
  while (secret.ends_with('\n') || secret.ends_with('\r')) secret.pop_back();
  if (secret.empty()) return Problem{ExitCode::usage, "there is no " + source.kind + " in " + source.inside};
  if (secret.size() > longest) {
    return Problem{ExitCode::usage, "what is in " + source.inside + " is too long for a " + source.kind +
                                        ": of more than " + std::to_string(longest) + " characters"};
  }
  return std::optional(std::move(secret));
}

}  // namespace

Read readToken(const std::optional<std::string>& file, const std::optional<std::string>& name) {
  if (!file) return std::nullopt;
  return readSecret({*file, "token", name.value_or("the token file " + *file), name.value_or(*file)});
}

Read readPassword(const std::optional<std::string>& file, const std::string& place) {
  if (!file) return std::nullopt;
  const std::string named = "the password file that " + place + " names";
  return readSecret(place.empty() ? Source{*file, "password", "the password file " + *file, *file}
                                  : Source{*file, "password", named, named});
}

}  // namespace vellora::command
