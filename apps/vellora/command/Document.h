#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "vellora/Platform/Json/EncodingError.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::command {

/// A record of the command's own that is shown as JSON. It lists its members in `fields()`, as the library's
/// records do, and has no `recordName`, which tells it from them.
template <class T>
concept Document = requires {
  T::fields();
}
&&!json::Record<T>;

/// A JSON text that becomes part of another as it is.
struct EmbeddedJson {
  std::string text;
};

/// Puts one JSON text together: the documents and their lists here, everything else by `json::encode`.
class DocumentText {
 public:
  /// Appends a value. False when it has no JSON form; nothing more is appended then.
  template <class T>
  [[nodiscard]] bool append(const T& value) {
    const auto json = json::encode(value);
    if (!json) return fail(json.error());
    text_ += json.value().view();
    return true;
  }

  [[nodiscard]] bool append(const EmbeddedJson& json) {
    text_ += json.text;
    return true;
  }

  template <Document T>
  [[nodiscard]] bool append(const T& document) {
    text_ += '{';
    const bool isWritten =
        std::apply([&](const auto&... field) { return (member(field.key, document.*field.member) && ...); },
                   T::fields());
    text_ += '}';
    return isWritten;
  }

  template <class T>
  [[nodiscard]] bool append(const std::vector<T>& values) {
    text_ += '[';
    for (std::size_t index = 0; index < values.size(); ++index) {
      if (!element("[" + std::to_string(index) + "]", values[index])) return false;
    }
    text_ += ']';
    return true;
  }

  template <class T>
  [[nodiscard]] bool append(const std::map<std::string, T>& values) {
    text_ += '{';
    for (const auto& [key, value] : values) {
      if (!member(key, value)) return false;
    }
    text_ += '}';
    return true;
  }

  [[nodiscard]] const std::string& text() const { return text_; }

  /// Why the last value has no JSON form, and where it stands.
  [[nodiscard]] const std::optional<EncodingError>& error() const { return error_; }

 private:
  template <class T>
  bool member(std::string_view key, const T& value) {
    separate();
    if (!append(std::string(key))) return false;
    text_ += ':';
    return under("." + std::string(key), value);
  }

  /// An absent member is left out.
  template <class T>
  bool member(std::string_view key, const std::optional<T>& value) {
    return !value || member(key, *value);
  }

  template <class T>
  bool element(const std::string& step, const T& value) {
    separate();
    return under(step, value);
  }

  template <class T>
  bool under(const std::string& step, const T& value) {
    const auto size = path_.size();
    path_ += step;
    if (!append(value)) return false;
    path_.resize(size);
    return true;
  }

  void separate() {
    if (!text_.ends_with('{') && !text_.ends_with('[')) text_ += ',';
  }

  bool fail(const Error& error) {
    const auto* reason = error.as<EncodingError>();
    error_.emplace(reason ? reason->kind() : EncodingError::Kind::noValue, path_);
    return false;
  }

  std::string text_;
  std::string path_ = "$";
  std::optional<EncodingError> error_;
};

/// `document` as JSON text, in the form of `json::encode` and with its errors.
template <class T>
[[nodiscard]] Result<Data> encode(const T& document) {
  DocumentText text;
  if (!text.append(document)) return Error(*text.error());
  return Data(text.text());
}

}  // namespace vellora::command
