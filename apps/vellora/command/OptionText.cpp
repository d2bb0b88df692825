#include "apps/vellora/command/OptionText.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "apps/vellora/command/NearestName.h"

namespace vellora::command {

namespace {

/// "off, error or info"
std::string choice(const std::vector<std::string>& words) {
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0) text += i + 1 == words.size() ? " or " : ", ";
    text += words[i];
  }
  return text;
}

}  // namespace

TextCheck aNumber() {
  return [](const std::string& text) -> std::string {
    char* end = nullptr;
    std::strtod(text.c_str(), &end);
    const bool isNumber = !text.empty() && end == text.c_str() + text.size();
    return isNumber ? "" : "must be a number";
  };
}

TextCheck aPort() {
  return [](const std::string& text) -> std::string {
    std::uint16_t port = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, port);
    return error == std::errc() && end == last ? "" : "must be a number from 0 to 65535";
  };
}

TextCheck aCount() {
  return [](const std::string& text) -> std::string {
    std::uint64_t count = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, count);
    const bool isCount = error == std::errc() && end == last && count > 0;
    return isCount ? "" : "must be a whole number above 0";
  };
}

TextCheck oneOf(std::vector<std::string> words) {
  return [words = std::move(words)](const std::string& text) -> std::string {
    for (const auto& word : words) {
      if (word == text) return "";
    }
    const auto near = nearestName(text, words);
    return "must be " + choice(words) + (near ? "; did you mean " + *near + "?" : "");
  };
}

}  // namespace vellora::command
