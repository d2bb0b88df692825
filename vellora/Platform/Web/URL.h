#pragma once

#include <string>
#include <utility>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// A URL or relative reference that is known to be well formed, such as
/// "/services/data/v50.0/search/layout?q=Account,Contact". Made by `URLComponents::url()`. The library's own
/// have neither scheme nor server; the host's network resolves them against its server.
///
/// Ownership: a plain value.
///
/// Threads: immutable but for assignment, hence safe to read from several threads.
class VELLORA_EXPORT URL {
 public:
  /// The whole text, percent-encoded, ASCII only: it may be sent as it stands. Valid as long as the URL.
  [[nodiscard]] const std::string& absoluteString() const noexcept { return text_; }

  friend bool operator==(const URL&, const URL&) = default;

 private:
  friend class URLComponents;
  explicit URL(std::string text) : text_(std::move(text)) {}

  std::string text_;
};

}  // namespace vellora
