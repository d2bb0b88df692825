#include "bindings/c/Texts.h"

#include <cmath>
#include <utility>
#include <vector>

#include "bindings/c/Border.h"
#include "vellora/Platform/Text/Utf8.h"

namespace vellora::capi {

namespace {

/// More keys than one question can have.
constexpr std::size_t mostKeys = 10'000'000;

std::string checkedText(std::string_view text, const char* what) {
  if (!isUtf8(text)) throw Refusal(VELLORA_BAD_ARGUMENT, std::string(what) + " is not UTF-8.");
  return std::string(text);
}

}  // namespace

std::string_view viewOf(const vellora_text& text, const char* what) {
  if (text.bytes == nullptr && text.size != 0)
    throw Refusal(VELLORA_BAD_ARGUMENT,
                  std::string(what) + " is null, but has a size of " + std::to_string(text.size) + ".");
  if (text.size > longestBytes)
    throw Refusal(VELLORA_BAD_ARGUMENT,
                  std::string(what) + " has a size of " + std::to_string(text.size) + ", which is too much.");
  return {text.bytes, text.size};
}

bool isAbsent(const vellora_text& text, const char* what) {
  return viewOf(text, what).data() == nullptr;
}

std::string textOr(const char* text, const char* fallback, const char* what) {
  return checkedText(text != nullptr ? text : fallback, what);
}

std::optional<std::string> optionalText(const char* text, const char* what) {
  return text != nullptr ? std::optional(checkedText(text, what)) : std::nullopt;
}

std::string utf8Of(const vellora_text& text, const char* what) {
  return checkedText(viewOf(text, what), what);
}

double secondsOr(double seconds, double fallback, const char* what) {
  if (std::isnan(seconds)) throw Refusal(VELLORA_BAD_ARGUMENT, std::string(what) + " is not a number.");
  if (seconds == 0) return fallback;
  return seconds < 0 ? 0 : seconds;
}

Keys keysOf(const vellora_text* keys, std::size_t count) {
  if ((keys == nullptr && count != 0) || count > mostKeys)
    throw Refusal(VELLORA_BAD_ARGUMENT, "There cannot be " + std::to_string(count) + " keys there.");
  std::vector<std::string> list;
  list.reserve(count);
  for (std::size_t index = 0; index < count; ++index) {
    const std::string what = "Key " + std::to_string(index);
    list.emplace_back(viewOf(keys[index], what.c_str()));
  }
  return {std::move(list)};
}

}  // namespace vellora::capi
