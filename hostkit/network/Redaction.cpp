#include "hostkit/network/Redaction.h"

#include <algorithm>

#include "hostkit/secrets/UrlCredentials.h"
#include "vellora/Platform/Text/EscapedText.h"

namespace vellora::hostkit {

std::string redacted(std::string_view text, const KnownSecrets& secrets) {
  std::string clean = withoutCredentials(secrets.cleaned(text));
  std::replace_if(
      clean.begin(), clean.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; },
      ' ');
  return escapedText(clean);
}

std::string redacted(std::string_view text, std::string_view token) {
  KnownSecrets secrets;
  secrets.note(token);
  return redacted(text, secrets);
}

}  // namespace vellora::hostkit
