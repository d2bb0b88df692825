#include "vellora/Platform/Json/JsonDocument.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <string_view>
#include <utility>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Json/JsonNumbers.h"
#include "vellora/Platform/Json/JsonSyntax.h"

namespace vellora::json {

static_assert(Data::padding >= simdjson::SIMDJSON_PADDING);

namespace {

constexpr std::size_t largestTextKeptFor = std::size_t{4} << 20U;

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

std::unique_ptr<simdjson::dom::parser>& keptParser() {
  thread_local std::unique_ptr<simdjson::dom::parser> parser;
  return parser;
}

/// Guards what simdjson makes its parsers with. That object is destroyed while the process ends, when threads
/// of the library may still be reading; from then on `allocate` refuses.
class ParserMaking {
 public:
  [[nodiscard]] static ParserMaking& instance() {
    // Never destroyed itself. simdjson's object is made first, so that `end` runs before that is destroyed.
    static auto* const made = [] {
      static_cast<void>(simdjson::get_active_implementation()->name());
      std::atexit([] { instance().end(); });
      return new ParserMaking;  // NOLINT(cppcoreguidelines-owning-memory)
    }();
    return *made;
  }

  /// Gives `parser` memory for texts of `size` bytes, nested up to `depth`.
  simdjson::error_code allocate(simdjson::dom::parser& parser, std::size_t size, std::size_t depth) {
    const std::shared_lock lock(mutex_);
    return ended_ ? simdjson::UNINITIALIZED : parser.allocate(size, depth);
  }

 private:
  ParserMaking() = default;

  void end() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
  }

  std::shared_mutex mutex_;
  bool ended_ = false;
};

// simdjson 3.0 reads the digits behind a point eight at a time, and mistakes them where the highest byte of a
// number stands first.
constexpr bool readsFractions = std::endian::native == std::endian::little;

simdjson::error_code parseWith(simdjson::dom::parser& parser, std::size_t depth, std::string_view text,
                               simdjson::dom::element& root) {
  // A parser takes its new memory before it gives back what has become too small. Putting a fresh one in its
  // place gives that back first.
  if (parser.capacity() < text.size()) parser = simdjson::dom::parser();
  if (parser.capacity() < text.size() || parser.max_depth() != depth) {
    const std::size_t size = std::max(parser.capacity(), text.size());
    if (const auto error = ParserMaking::instance().allocate(parser, size, depth)) return error;
  }
  constexpr bool copyIfUnpadded = false;
  return parser.parse(text.data(), text.size(), copyIfUnpadded).get(root);
}

}  // namespace

void releaseParser() noexcept {
  keptParser().reset();
}

Document::Document() : parser_(std::move(keptParser())) {
  if (!parser_) parser_ = std::make_unique<simdjson::dom::parser>();
}

Document::~Document() {
  if (parser_->capacity() <= largestTextKeptFor) keptParser() = std::move(parser_);
}

std::optional<DecodingError> Document::parse(const Data& text) {
  text_ = text.view();
  numbersAreSettled_ = false;
  const std::size_t skipped = text_.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
  text_.remove_prefix(skipped);
  const auto error = parseWith(*parser_, maximumDepth, text_, root_);
  if (!error) {
    if constexpr (!readsFractions) settleNumbers();
    return std::nullopt;
  }
  if (error == simdjson::MEMALLOC) throw std::bad_alloc();
  if (error == simdjson::UNINITIALIZED) {
    return DecodingError::invalidJson("it is not read, since the process is ending");
  }
  if (auto found = findSyntaxError(text_, skipped)) return found;
  return parseAgain();
}

// simdjson refuses two kinds of texts that are JSON. It refuses numbers beyond 64 bits and doubles, so it
// gets the text without numbers. And it refuses to go as deep as its limit, but lets an empty object or array
// pass there. So a document that is just deep enough is refused at first; since nothing is wrong with it, one
// level more does no harm.
std::optional<DecodingError> Document::parseAgain() {
  const Data plain(withoutNumbers(text_));
  const auto error = parseWith(*parser_, maximumDepth + 1, plain.view(), root_);
  if (error == simdjson::MEMALLOC) throw std::bad_alloc();
  if (error) return DecodingError::invalidJson(simdjson::error_message(error));
  settleNumbers();
  return std::nullopt;
}

void Document::settleNumbers() {
  if (!std::exchange(numbersAreSettled_, true)) json::settleNumbers(parser_->doc, text_);
}

}  // namespace vellora::json
