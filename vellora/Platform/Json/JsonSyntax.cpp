#include "vellora/Platform/Json/JsonSyntax.h"

#include <boost/json/basic_parser_impl.hpp>
#include <cstdint>
#include <limits>
#include <string>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Json/JsonNumbers.h"

namespace vellora::json {

namespace {

using boost::json::error_code;
using boost::json::string_view;

// Accepts every event of the parser.
struct Listener {
  static constexpr std::size_t max_object_size = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t max_array_size = max_object_size;
  static constexpr std::size_t max_key_size = max_object_size;
  static constexpr std::size_t max_string_size = max_object_size;

  bool on_document_begin(error_code&) { return true; }
  bool on_document_end(error_code&) { return true; }
  bool on_object_begin(error_code&) { return true; }
  bool on_object_end(std::size_t, error_code&) { return true; }
  bool on_array_begin(error_code&) { return true; }
  bool on_array_end(std::size_t, error_code&) { return true; }
  bool on_key_part(string_view, std::size_t, error_code&) { return true; }
  bool on_key(string_view, std::size_t, error_code&) { return true; }
  bool on_string_part(string_view, std::size_t, error_code&) { return true; }
  bool on_string(string_view, std::size_t, error_code&) { return true; }
  bool on_number_part(string_view, error_code&) { return true; }
  bool on_int64(std::int64_t, string_view, error_code&) { return true; }
  bool on_uint64(std::uint64_t, string_view, error_code&) { return true; }
  bool on_double(double, string_view, error_code&) { return true; }
  bool on_bool(bool, error_code&) { return true; }
  bool on_null(error_code&) { return true; }
  bool on_comment_part(string_view, error_code&) { return true; }
  bool on_comment(string_view, error_code&) { return true; }
};

std::string reasonOf(const error_code& error) {
  if (error == boost::json::error::too_deep) return "nested deeper than " + std::to_string(maximumDepth);
  if (error == boost::json::error::incomplete) return "the text ends too early";
  return error.message();
}

}  // namespace

std::optional<DecodingError> findSyntaxError(std::string_view text, std::size_t firstByte) {
  boost::json::parse_options options;
  options.max_depth = maximumDepth;
  boost::json::basic_parser<Listener> parser(options);
  error_code error;
  // The parser refuses very large exponents, so it gets the text without numbers.
  const std::string plain = withoutNumbers(text);
  const std::size_t read = parser.write_some(false, plain.data(), plain.size(), error);
  if (error) return DecodingError::invalidJson(firstByte + read, reasonOf(error));
  if (read < text.size()) return DecodingError::invalidJson(firstByte + read, "more text after the value");
  return std::nullopt;
}

}  // namespace vellora::json
