#include "hostkit/secrets/UrlCredentials.h"

#include <algorithm>
#include <cstddef>

namespace vellora::hostkit {

namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view wordEnds = " \t\r\n\"'<>()";
constexpr std::string_view schemeEnd = "://";

/// Where the credentials begin that end with `text`, the part of a text before an "@"; npos when none do.
std::size_t beginOfCredentials(std::string_view text) {
  const auto blankOrStart = [&](std::size_t found) {
    return found == std::string_view::npos ? 0 : found + 1;
  };
  const auto scheme = text.rfind(schemeEnd);
  const std::size_t word = blankOrStart(text.find_last_of(wordEnds));
  if (scheme != std::string_view::npos) {
    const std::size_t begin = scheme + schemeEnd.size();
    // A password may hold a blank or a quotation mark; the address that ended before another word has none.
    const bool isOneAddress = begin >= word || text.find('/', begin) == std::string_view::npos;
    if (isOneAddress) return begin;
  }
  return text.find(':', word) == std::string_view::npos ? std::string_view::npos : word;
}

}  // namespace

std::string withoutCredentials(std::string_view text) {
  std::string clean;
  for (auto at = text.find('@'); at != std::string_view::npos; at = text.find('@')) {
    // A password may hold an "@", so the last one of the word counts.
    const auto wordEnd = std::min(text.find_first_of(blanks, at), text.size());
    at = text.substr(0, wordEnd).rfind('@');
    const auto begin = beginOfCredentials(text.substr(0, at));
    const bool has = begin < at;  // npos is beyond it
    clean.append(text.substr(0, has ? begin : at)).append(has ? "[credentials]@" : "@");
    text.remove_prefix(at + 1);
  }
  return clean.append(text);
}

}  // namespace vellora::hostkit
