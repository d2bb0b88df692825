#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Web/URL.h"

namespace vellora {

/// One name and value of a URL's query, both unencoded; any bytes. `{"q", "a b"}` becomes "q=a%20b".
struct VELLORA_EXPORT URLQueryItem {
  std::string name;
  std::string value;
};

/// A URL taken apart, so that its query can be replaced.
///
///     auto components = URLComponents::parse("/services/data/v50.0/query");
///     components->setQueryItems({{"q", "SELECT Id FROM ListView"}});
///     components->url()->absoluteString();  // "/services/data/v50.0/query?q=SELECT%20Id%20FROM%20ListView"
///
/// Ownership: a plain value.
///
/// Threads: not synchronised; each thread has its own copy.
///
/// Errors: an absent value stands for a text that is no URL.
class VELLORA_EXPORT URLComponents {
 public:
  /// Takes a URL or a relative reference apart; no value when `text` is neither. Nothing is corrected: a
  /// blank or a letter beyond ASCII makes it neither.
  [[nodiscard]] static std::optional<URLComponents> parse(std::string_view text);

  /// Replaces the query by `items`, in order, joined with "&". In names and values only the characters
  /// A-Z a-z 0-9 ! $ ' ( ) * + , - . / : ; ? @ _ ~ stand for themselves; every other byte is
  /// percent-encoded in upper-case hexadecimal, "%" included. An empty value gives "name="; no items at all
  /// give no query.
  void setQueryItems(const std::vector<URLQueryItem>& items);

  /// The URL that the components form; no value when they form none. What `parse` has accepted always forms
  /// one.
  [[nodiscard]] std::optional<URL> url() const;

 private:
  explicit URLComponents(std::string text) : text_(std::move(text)) {}

  std::string text_;
};

}  // namespace vellora
