#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

class SecretTraces;

/// The tokens that were sent lately, or are about to be. Texts that may quote a server are cleaned of them
/// before anybody reads them, since a server may send a token back: as the name of a type, as a host to go
/// to, as a reason.
///
///     options.secrets = std::make_shared<hostkit::KnownSecrets>();  // of a CurlNetwork
///     …
///     show(options.secrets->cleaned(textThatQuotesTheServer));
///
/// `StandardPlatformAPI::make` does this for the log. `CurlNetwork` does it for the texts of its errors.
///
/// A token is found whole, and in pieces of six characters or more, whatever the case of their letters: as it
/// is, back to front, percent-encoded, in hexadecimal digits, as JSON escapes; in Base64, pieces of ten. Ten
/// of its letters and digits in a row are found, too, when other characters stand between them. A shorter
/// piece stays, since a text and a token share one by chance. A token of fewer than six characters is found
/// only where it stands whole, not encoded, whatever the case of its letters.
///
/// Threads: safe to use from several threads at once; no lock is held while a text is searched.
///
/// Units: bytes. Of a secret longer than `longest` the first so many are looked for. A search takes time by
/// the length of the text alone.
class VELLORA_EXPORT KnownSecrets {
 public:
  static constexpr std::size_t mostKept = 16;  ///< as many as are in use at once while a token is renewed
  static constexpr std::size_t longest = 16'384;

  KnownSecrets();
  ~KnownSecrets();
  KnownSecrets(const KnownSecrets&) = delete;
  KnownSecrets& operator=(const KnownSecrets&) = delete;

  /// Takes in a secret that is sent, or may be. The `mostKept` latest ones are kept. An empty one is none.
  void note(std::string_view secret);

  /// `text` with "[token]" for each part of it that tells one of the secrets.
  [[nodiscard]] std::string cleaned(std::string_view text) const;

 private:
  using Traces = std::vector<std::shared_ptr<const SecretTraces>>;

  [[nodiscard]] Traces traces() const;

  mutable std::mutex mutex_;
  Traces latestFirst_;
};

}  // namespace vellora::hostkit
