#include "vellora/Platform/JsonWriter.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "vellora/Platform/JsonPath.h"

namespace vellora::json {

struct Writer::State {
  using Encoding = rapidjson::UTF8<>;
  using Sink = rapidjson::Writer<rapidjson::StringBuffer, Encoding, Encoding, rapidjson::CrtAllocator,
                                 rapidjson::kWriteValidateEncodingFlag>;

  rapidjson::StringBuffer buffer;
  Sink sink{buffer};
  std::size_t depth = 0;
  EncodingError::Kind failure = EncodingError::Kind::noValue;
  Path path;
};

namespace {

// From here on a double is written with an exponent: its plain digits would read as an integer that is too
// large.
constexpr double beyond64Bits = 9223372036854775808.0;

// RapidJSON counts bytes in 32 bits.
bool fits(std::string_view text) {
  return text.size() <= std::numeric_limits<rapidjson::SizeType>::max();
}

rapidjson::SizeType sizeOf(std::string_view text) {
  return static_cast<rapidjson::SizeType>(text.size());
}

// RapidJSON takes no null pointer, which an empty view may have.
const char* bytesOf(std::string_view text) {
  return text.empty() ? "" : text.data();
}

}  // namespace

Writer::Writer() : state_(std::make_unique<State>()) {}

Writer::~Writer() = default;

bool Writer::null() {
  return state_->sink.Null();
}

bool Writer::boolean(bool value) {
  return state_->sink.Bool(value);
}

bool Writer::integer(std::int64_t value) {
  return state_->sink.Int64(value);
}

bool Writer::number(double value) {
  if (!std::isfinite(value)) return fail(EncodingError::Kind::numberNotFinite);
  std::array<char, 32> digits;  // the shortest form of a double takes at most 24
  const auto end =
      std::abs(value) < beyond64Bits
          ? std::to_chars(digits.begin(), digits.end(), value).ptr
          : std::to_chars(digits.begin(), digits.end(), value, std::chars_format::scientific).ptr;
  return state_->sink.RawValue(digits.data(), static_cast<std::size_t>(end - digits.data()),
                               rapidjson::kNumberType);
}

bool Writer::text(std::string_view value) {
  const bool isWritten = fits(value) && state_->sink.String(bytesOf(value), sizeOf(value));
  return isWritten || fail(EncodingError::Kind::textNotUtf8);
}

bool Writer::key(std::string_view key) {
  const bool isWritten = fits(key) && state_->sink.Key(bytesOf(key), sizeOf(key));
  return isWritten || fail(EncodingError::Kind::keyNotUtf8);
}

bool Writer::beginObject() {
  if (++state_->depth > maximumDepth) return fail(EncodingError::Kind::tooDeep);
  return state_->sink.StartObject();
}

bool Writer::endObject() {
  --state_->depth;
  return state_->sink.EndObject();
}

bool Writer::beginArray() {
  if (++state_->depth > maximumDepth) return fail(EncodingError::Kind::tooDeep);
  return state_->sink.StartArray();
}

bool Writer::endArray() {
  --state_->depth;
  return state_->sink.EndArray();
}

bool Writer::fail(EncodingError::Kind kind) {
  state_->failure = kind;
  return false;
}

bool Writer::under(std::string_view key) {
  state_->path.under(key);
  return false;
}

bool Writer::under(std::size_t index) {
  state_->path.under(index);
  return false;
}

Data Writer::data() const {
  return Data(state_->buffer.GetString(), state_->buffer.GetSize());
}

EncodingError Writer::error() const {
  return EncodingError(state_->failure, state_->path.text());
}

}  // namespace vellora::json
