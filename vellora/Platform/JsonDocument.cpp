#include "vellora/Platform/JsonDocument.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include "vellora/Platform/Json.h"
#include "vellora/Platform/JsonSyntax.h"

namespace vellora::json {

static_assert(Data::padding >= simdjson::SIMDJSON_PADDING);

namespace {

constexpr std::size_t largestTextKeptFor = std::size_t{4} << 20U;

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

std::unique_ptr<simdjson::dom::parser>& keptParser() {
  thread_local std::unique_ptr<simdjson::dom::parser> parser;
  return parser;
}

simdjson::error_code parseWith(simdjson::dom::parser& parser, std::size_t depth, std::string_view text,
                               simdjson::dom::element& root) {
  // By itself a parser makes its new memory before it gives back what has become too small.
  if (parser.capacity() < text.size()) parser = simdjson::dom::parser();
  if (parser.max_depth() != depth) {
    const auto error = parser.allocate(std::max(parser.capacity(), text.size()), depth);
    if (error) return error;
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
  std::string_view json = text.view();
  const std::size_t skipped = json.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
  json.remove_prefix(skipped);
  auto error = parseWith(*parser_, maximumDepth, json, root_);
  if (!error) return std::nullopt;
  if (error == simdjson::MEMALLOC) throw std::bad_alloc();
  if (auto found = findSyntaxError(json, skipped)) return found;
  // simdjson refuses to go as deep as its limit, but lets an empty object or array pass there. So a document
  // that is just deep enough is refused at first; when nothing is wrong with it, one level more does no harm.
  if (error == simdjson::DEPTH_ERROR) error = parseWith(*parser_, maximumDepth + 1, json, root_);
  if (!error) return std::nullopt;
  return DecodingError::invalidJson(simdjson::error_message(error));
}

}  // namespace vellora::json
