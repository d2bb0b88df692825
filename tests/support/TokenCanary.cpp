#include "tests/support/TokenCanary.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <fstream>
#include <iterator>

namespace vellora::tests {

namespace {

constexpr std::size_t tellingLength = 8;

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string hexadecimal(std::string_view text, std::string_view digits, std::string_view before) {
  std::string encoded;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    encoded.append(before).append({digits[byte / 16], digits[byte % 16]});
  }
  return encoded;
}

/// As a URL's query has it: what is neither letter nor digit is escaped.
std::string percentEncoded(std::string_view text) {
  std::string encoded;
  for (const char character : text) {
    const bool plain = std::isalnum(static_cast<unsigned char>(character)) != 0;
    encoded.append(plain ? std::string(1, character) : hexadecimal({&character, 1}, "0123456789ABCDEF", "%"));
  }
  return encoded;
}

/// Of a multiple of three bytes, hence without padding.
std::string base64(std::string_view text, std::string_view lastDigits) {
  const auto digits =
      std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789").append(lastDigits);
  std::string encoded;
  for (std::size_t at = 0; at + 3 <= text.size(); at += 3) {
    unsigned bits = 0;
    for (std::size_t i = 0; i < 3; ++i) bits = bits << 8U | static_cast<unsigned char>(text[at + i]);
    for (const unsigned shift : {18U, 12U, 6U, 0U}) encoded += digits[bits >> shift & 63U];
  }
  return encoded;
}

}  // namespace

TokenCanary::TokenCanary(int number)
    : token_("Kanari0" + std::to_string(number) + "~Qx7/vW3+Zk9=Jt5&Hb8\"Yd4'Mf6%Gn2") {
  for (std::size_t at = 0; at + tellingLength <= token_.size(); ++at) {
    const std::string_view piece = std::string_view(token_).substr(at, tellingLength);
    traces_.emplace_back(piece);
    traces_.emplace_back(piece.rbegin(), piece.rend());
    traces_.push_back(percentEncoded(piece));
    traces_.push_back(hexadecimal(piece, "0123456789abcdef", ""));
    traces_.push_back(hexadecimal(piece, "0123456789ABCDEF", ""));
    // Base64 takes three bytes at a time, wherever the text before the token ends.
    for (const std::string_view lastDigits : {"+/", "-_"}) {
      traces_.push_back(base64(std::string_view(token_).substr(at, 9), lastDigits));
    }
  }
  std::erase_if(traces_, [](const std::string& trace) { return trace.size() < tellingLength; });
}

bool TokenCanary::isIn(std::string_view bytes) const {
  return std::any_of(traces_.begin(), traces_.end(),
                     [&](const std::string& trace) { return bytes.find(trace) != std::string_view::npos; });
}

std::vector<std::string> TokenCanary::filesIn(const std::filesystem::path& folder) const {
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    const std::string name = entry.path().string();
    if (isIn(name) || (entry.is_regular_file() && isIn(contentOf(entry.path())))) found.push_back(name);
  }
  return found;
}

bool TokenCanary::isInArgumentsOf(pid_t process) const {
  const std::string arguments = contentOf("/proc/" + std::to_string(process) + "/cmdline");
  return arguments.empty() || isIn(arguments);
}

}  // namespace vellora::tests
