#include "vellora/Platform/Json/JsonWriter.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

#include "vellora/Platform/Json/JsonPath.h"

namespace vellora::json {

namespace {

// RapidJSON's own allocator is malloc, whose null pointer it would write to.
class Memory {
 public:
  [[maybe_unused]] static constexpr bool kNeedFree = true;  // asked for by some versions of RapidJSON

  static void* Malloc(std::size_t size) { return ::operator new(size); }

  static void* Realloc(void* old, std::size_t oldSize, std::size_t newSize) {
    void* const memory = Malloc(newSize);
    if (old != nullptr) std::memcpy(memory, old, std::min(oldSize, newSize));
    Free(old);
    return memory;
  }

  static void Free(void* memory) noexcept { ::operator delete(memory); }
};

using Encoding = rapidjson::UTF8<>;
using Buffer = rapidjson::GenericStringBuffer<Encoding, Memory>;
using CheckingWriter =
    rapidjson::Writer<Buffer, Encoding, Encoding, Memory, rapidjson::kWriteValidateEncodingFlag>;

rapidjson::SizeType sizeOf(std::string_view text) {
  return static_cast<rapidjson::SizeType>(text.size());
}

// RapidJSON takes no null pointer, which an empty view may have.
const char* bytesOf(std::string_view text) {
  return text.empty() ? "" : text.data();
}

constexpr std::uint64_t inEachByte(unsigned char byte) {
  return 0x0101010101010101U * byte;
}

// Whether one of eight characters is not ASCII, a control character, a quotation mark or a backslash. The
// subtraction sets the top bit of a byte that is too small. It may borrow from the next byte and set that
// one's bit as well, but only where the answer is true already.
bool holdsOther(std::uint64_t eight) {
  const std::uint64_t quotes = eight ^ inEachByte('"');
  const std::uint64_t backslashes = eight ^ inEachByte('\\');
  const std::uint64_t tooSmall =
      (eight - inEachByte(' ')) | (quotes - inEachByte(1)) | (backslashes - inEachByte(1));
  return ((tooSmall | eight) & inEachByte(0x80)) != 0;
}

// Copies `text` to `out`, where eight bytes fit even for a shorter text. Returns whether all of it is ASCII
// that JSON shows unescaped; stops early when it isn't.
bool copyPlain(std::string_view text, char* out) {
  constexpr std::size_t step = sizeof(std::uint64_t);
  const auto copyEight = [&](std::size_t at) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, text.data() + at, step);
    std::memcpy(out + at, &eight, step);
    return !holdsOther(eight);
  };
  if (text.size() < step) {
    std::uint64_t padded = inEachByte(' ');
    std::memcpy(&padded, bytesOf(text), text.size());
    std::memcpy(out, &padded, step);
    return !holdsOther(padded);
  }
  for (std::size_t at = 0; at + step < text.size(); at += step) {
    if (!copyEight(at)) return false;
  }
  return copyEight(text.size() - step);
}

// RapidJSON checks and escapes a text byte after byte. Nearly all texts need no escaping, so they are checked
// eight bytes at a time and copied whole.
class Sink final : public CheckingWriter {
 public:
  using CheckingWriter::CheckingWriter;

  bool text(std::string_view text) {
    constexpr std::size_t room = sizeof(std::uint64_t);
    Prefix(rapidjson::kStringType);
    char* out = os_->Push(1 + text.size() + room);
    if (copyPlain(text, out + 1)) {
      out[0] = '"';
      out[1 + text.size()] = '"';
      os_->Pop(room - 1);
      return EndValue(true);
    }
    os_->Pop(1 + text.size() + room);
    return EndValue(WriteString(bytesOf(text), sizeOf(text)));
  }
};

}  // namespace

struct Writer::State {
  Memory memory;
  Buffer buffer{&memory};
  Sink sink{buffer, &memory};
  std::size_t depth = 0;
  EncodingError::Kind failure = EncodingError::Kind::noValue;
  Path path;
};

namespace {

// From here on a double is written with an exponent: readers may take its plain digits for an integer, one
// that is too large for them.
constexpr double beyond64Bits = 9223372036854775808.0;

// RapidJSON counts bytes in 32 bits.
bool fits(std::string_view text) {
  return text.size() <= std::numeric_limits<rapidjson::SizeType>::max();
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
  const bool isWritten = fits(value) && state_->sink.text(value);
  return isWritten || fail(EncodingError::Kind::textNotUtf8);
}

bool Writer::key(std::string_view key) {
  const bool isWritten = fits(key) && state_->sink.text(key);
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
