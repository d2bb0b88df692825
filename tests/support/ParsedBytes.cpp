#include "tests/support/ParsedBytes.h"

#include <atomic>
#include <optional>

#include "vellora/Platform/Json/JsonDocument.h"

namespace vellora::tests {

namespace {

std::atomic<std::size_t> parsedBytes = 0;

}  // namespace

ParsedBytes::ParsedBytes() : before_(parsedBytes) {}

std::size_t ParsedBytes::count() const {
  return parsedBytes - before_;
}

}  // namespace vellora::tests

// The linker leads each call of `json::Document::parse` to the first of these, and calls of the second to the
// function itself (--wrap). A member function takes its object as a first argument.

std::optional<vellora::DecodingError> realParse(
    vellora::json::Document* document,
    const vellora::Data& text) __asm__("__real__ZN7vellora4json8Document5parseERKNS_4DataE");

std::optional<vellora::DecodingError> countedParse(
    vellora::json::Document* document,
    const vellora::Data& text) __asm__("__wrap__ZN7vellora4json8Document5parseERKNS_4DataE");

std::optional<vellora::DecodingError> countedParse(vellora::json::Document* document,
                                                   const vellora::Data& text) {
  vellora::tests::parsedBytes += text.size();
  return realParse(document, text);
}
