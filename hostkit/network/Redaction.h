#pragma once

#include <string>
#include <string_view>

#include "hostkit/secrets/KnownSecrets.h"

namespace vellora::hostkit {

/// `text`, which may quote a server, curl or an environment variable, as the text of an error: without the
/// secrets (`KnownSecrets::cleaned`), without the credentials of addresses (`withoutCredentials`), and on one
/// line that drives no display. Of that, line ends, tabs and the other controls of ASCII become blanks, the
/// rest escapes (`escapedText`).
[[nodiscard]] std::string redacted(std::string_view text, const KnownSecrets& secrets);

/// The same where `token` is the only secret; an empty one stands for none.
///
///     redacted("no host SECRET99x.example", "abc-secret99-xyz")  // "no host [token]x.example"
[[nodiscard]] std::string redacted(std::string_view text, std::string_view token);

}  // namespace vellora::hostkit
