#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace vellora::tests {

/// A token to log in with that is easily told from anything else, and the search for where it got to: a token
/// belongs into the header of a request and nowhere else.
///
///     const TokenCanary canary;
///     // … let a network send canary.token(), and what is tested go wrong …
///     EXPECT_FALSE(canary.isIn(logLines));
///     EXPECT_THAT(canary.filesIn(cacheFolder), IsEmpty());
///
/// It counts as found as soon as eight characters of it stand somewhere in a row, as they are or in Base64,
/// in hexadecimal or percent-encoded, or back to front; so it is also found where a text was cut or wrapped.
class TokenCanary {
 public:
  /// Different for each `number`, for tests that have several.
  explicit TokenCanary(int number = 0);

  /// Printable ASCII without blanks, with characters that URLs and JSON escape.
  [[nodiscard]] const std::string& token() const { return token_; }

  [[nodiscard]] bool isIn(std::string_view bytes) const;

  /// What a text must hold for the token to count as found in it: each of these tells.
  [[nodiscard]] const std::vector<std::string>& traces() const { return traces_; }

  /// The files in `folder` and below in whose names or bytes it is, whatever the files are: databases and
  /// their journals too.
  [[nodiscard]] std::vector<std::string> filesIn(const std::filesystem::path& folder) const;

  /// Whether it is among the arguments of a running process, where every user of the machine could read it.
  /// True as well when the arguments cannot be read: then nothing has been shown.
  [[nodiscard]] bool isInArgumentsOf(pid_t process) const;

 private:
  std::string token_;
  std::vector<std::string> traces_;  // what tells the token
};

}  // namespace vellora::tests
