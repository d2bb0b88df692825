#include "vellora/Platform/Json/JsonCodec.h"

#include <cmath>

#include "vellora/Platform/Json/JsonDocument.h"

namespace vellora::json {

bool Codec<std::string>::decode(Element value, std::string& out, DecodingFailure& failure) {
  std::string_view text;
  if (value.get(text)) return failure.typeMismatch("a string");
  out = text;
  return true;
}

bool Codec<std::string>::encode(const std::string& value, Writer& writer) {
  return writer.text(value);
}

bool Codec<bool>::decode(Element value, bool& out, DecodingFailure& failure) {
  return !value.get(out) || failure.typeMismatch("a boolean");
}

bool Codec<bool>::encode(bool value, Writer& writer) {
  return writer.boolean(value);
}

// The parser rounds what is written with a fraction or an exponent. Its digits tell whether it is whole.
bool Codec<std::int64_t>::decode(Element value, std::int64_t& out, DecodingFailure& failure) {
  if (!value.get(out)) return true;
  if (!value.is_double()) return failure.typeMismatch("an integer");
  failure.document().settleNumbers();
  return !value.get(out) || failure.typeMismatch("an integer");
}

bool Codec<std::int64_t>::encode(std::int64_t value, Writer& writer) {
  return writer.integer(value);
}

bool Codec<double>::decode(Element value, double& out, DecodingFailure& failure) {
  if (value.get(out)) return failure.typeMismatch("a number");
  return std::isfinite(out) || failure.typeMismatch("a number within the range of a double");
}

bool Codec<double>::encode(double value, Writer& writer) {
  return writer.number(value);
}

bool Codec<Date>::decode(Element value, Date& out, DecodingFailure& failure) {
  double seconds = 0;
  if (!Codec<double>::decode(value, seconds, failure)) return false;
  out = Date::sinceReferenceDate(seconds);
  return true;
}

bool Codec<Date>::encode(Date value, Writer& writer) {
  return writer.number(value.secondsSinceReferenceDate());
}

}  // namespace vellora::json
