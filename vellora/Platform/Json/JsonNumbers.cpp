#include "vellora/Platform/Json/JsonNumbers.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <system_error>

namespace vellora::json {

namespace {

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

bool mayBeInNumber(char character) {
  return isDigit(character) || std::string_view("+-.eE").find(character) != std::string_view::npos;
}

/// How many of the first characters of `text` are digits.
std::size_t digitsAtFront(std::string_view text) {
  const auto* const end = std::find_if_not(text.begin(), text.end(), isDigit);
  return static_cast<std::size_t>(end - text.begin());
}

/// Takes `-?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?` for a number, and nothing else.
bool isNumber(std::string_view text) {
  const auto takeDigits = [&text] {
    const std::size_t count = digitsAtFront(text);
    text.remove_prefix(count);
    return count > 0;
  };
  if (text.starts_with('-')) text.remove_prefix(1);
  if (text.starts_with('0') && digitsAtFront(text) > 1) return false;
  if (!takeDigits()) return false;
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    if (!takeDigits()) return false;
  }
  if (text.starts_with('e') || text.starts_with('E')) {
    text.remove_prefix(1);
    if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
    if (!takeDigits()) return false;
  }
  return text.empty();
}

/// Goes through the numbers of a JSON text, from front to back.
class Numbers {
 public:
  explicit Numbers(std::string_view text) : text_(text) {}

  /// The next number, as a part of the text; empty behind the last one.
  std::string_view next() {
    while (at_ < text_.size()) {
      const char first = text_[at_];
      if (first == '"') {
        skipString();
      } else if (isDigit(first) || first == '-') {
        if (const auto number = takeRun(); isNumber(number)) return number;
      } else {
        ++at_;
      }
    }
    return {};
  }

 private:
  void skipString() {
    do {
      at_ = std::min(text_.find('"', at_ + 1), text_.size());
    } while (at_ < text_.size() && isEscaped());
    at_ = std::min(at_ + 1, text_.size());
  }

  // Whether an odd number of backslashes stands in front.
  [[nodiscard]] bool isEscaped() const {
    const std::string_view before = text_.substr(0, at_);
    return (before.size() - before.find_last_not_of('\\')) % 2 == 0;
  }

  // The characters from here on that may stand in a number.
  std::string_view takeRun() {
    const std::size_t begin = at_;
    while (at_ < text_.size() && mayBeInNumber(text_[at_])) ++at_;
    return text_.substr(begin, at_ - begin);
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

/// The exponent that `text` writes, such as "+12". One that is too large for 64 bits becomes one that is
/// larger by far than any number has digits.
std::int64_t exponentIn(std::string_view text) {
  constexpr std::int64_t far = std::numeric_limits<std::int64_t>::max() / 4;
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  std::int64_t value = 0;
  const auto error = std::from_chars(text.data(), text.data() + text.size(), value).ec;
  value = error == std::errc() ? std::min(value, far) : far;
  return isNegative ? -value : value;
}

/// The value of a number: `digits` times 10 to the power of `exponent`. The digits neither begin nor end with
/// a 0; those of zero are none.
struct Decimal {
  explicit Decimal(std::string_view number) : isNegative(number.starts_with('-')) {
    if (isNegative) number.remove_prefix(1);
    const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
    if (mark < number.size()) exponent = exponentIn(number.substr(mark + 1));
    const std::string_view mantissa = number.substr(0, mark);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    digits = mantissa.substr(0, point);
    if (point < mantissa.size()) {
      digits += mantissa.substr(point + 1);
      exponent -= static_cast<std::int64_t>(mantissa.size() - point - 1);
    }
    trim();
  }

  void trim() {
    const std::size_t end = digits.find_last_not_of('0') + 1;  // 0 when there is no other digit
    exponent += static_cast<std::int64_t>(digits.size() - end);
    digits.erase(end);
    digits.erase(0, digits.find_first_not_of('0'));
  }

  bool isNegative;
  std::string digits;
  std::int64_t exponent = 0;
};

/// The value of `decimal` if it is an integer of 64 bits.
std::optional<std::int64_t> integerIn(const Decimal& decimal) {
  constexpr std::size_t mostDigits = 19;
  if (decimal.digits.empty()) return 0;
  if (decimal.exponent < 0 || decimal.digits.size() > mostDigits) return std::nullopt;
  if (decimal.exponent > static_cast<std::int64_t>(mostDigits - decimal.digits.size())) return std::nullopt;
  const std::string plain = (decimal.isNegative ? "-" : "") + decimal.digits +
                            std::string(static_cast<std::size_t>(decimal.exponent), '0');
  std::int64_t value = 0;
  const auto error = std::from_chars(plain.data(), plain.data() + plain.size(), value).ec;
  return error == std::errc() ? std::optional(value) : std::nullopt;
}

using Word = std::uint64_t;

// A tree of simdjson is an array of words. The first byte of a word tells what it is of, the others a place
// or nothing. A number is such a word and another one with its value.
constexpr unsigned typeShift = 56;
constexpr Word placeMask = (Word{1} << typeShift) - 1;

Word wordOf(simdjson::internal::tape_type type) {
  return Word{static_cast<unsigned char>(type)} << typeShift;
}

bool isOfNumber(Word word) {
  using simdjson::internal::tape_type;
  const Word type = word & ~placeMask;
  return type == wordOf(tape_type::INT64) || type == wordOf(tape_type::UINT64) ||
         type == wordOf(tape_type::DOUBLE);
}

void put(std::string_view number, Word* place) {
  using simdjson::internal::tape_type;
  const Decimal decimal(number);
  if (const auto integer = integerIn(decimal)) {
    place[0] = wordOf(tape_type::INT64);
    std::memcpy(&place[1], &*integer, sizeof(Word));
  } else {
    // Not `std::from_chars`, which LLVM's standard library lacks for doubles.
    const double rounded = simdjson::internal::from_chars(number.data(), number.data() + number.size());
    place[0] = wordOf(tape_type::DOUBLE);
    std::memcpy(&place[1], &rounded, sizeof(Word));
  }
}

}  // namespace

std::string withoutNumbers(std::string_view text) {
  std::string plain(text);
  Numbers numbers(text);
  for (auto number = numbers.next(); !number.empty(); number = numbers.next()) {
    const auto at = static_cast<std::size_t>(number.data() - text.data());
    plain.replace(at, number.size(), number.size(), ' ');
    plain[at] = '0';
  }
  return plain;
}

void settleNumbers(simdjson::dom::document& tree, std::string_view text) {
  Word* const words = tree.tape.get();
  const auto end =
      static_cast<std::size_t>(words[0] & placeMask);  // the first word tells where the last one is
  Numbers numbers(text);
  for (std::size_t at = 1; at < end; ++at) {
    if (isOfNumber(words[at])) put(numbers.next(), &words[at++]);
  }
}

}  // namespace vellora::json
