#include "tests/simulation/releases/Case.h"

#include <algorithm>
#include <cstdlib>

namespace vellora::releases {

namespace {

template <class Enumeration>
std::string wordOf(Enumeration value) {
  return Words<Enumeration>::all.at(static_cast<std::size_t>(value));
}

template <class Enumeration>
std::optional<Enumeration> valueOf(const std::string& word) {
  const auto& words = Words<Enumeration>::all;
  const auto found = std::find(words.begin(), words.end(), word);
  if (found == words.end()) return std::nullopt;
  return static_cast<Enumeration>(found - words.begin());
}

std::optional<Release> readRelease(const std::string& word) {
  const auto at = word.find('@');
  const auto thing = valueOf<Thing>(word.substr(0, at));
  if (at == std::string::npos || !thing) return std::nullopt;
  return Release{*thing, std::strtoul(word.c_str() + at + 1, nullptr, 10)};
}

}  // namespace

bool Case::has(Thing thing) const {
  return std::any_of(releases.begin(), releases.end(),
                     [thing](const Release& release) { return release.thing == thing; });
}

std::string Case::text() const {
  std::string text = operation + ' ' + wordOf(cached) + ' ' + wordOf(wire);
  for (const auto& release : releases) {
    text += ' ' + wordOf(release.thing) + '@' + std::to_string(release.moment);
  }
  return text;
}

std::optional<Case> Case::read(const std::vector<std::string>& words) {
  if (words.size() < 3) return std::nullopt;
  const auto cached = valueOf<Cached>(words[1]);
  const auto wire = valueOf<Wire>(words[2]);
  if (!cached || !wire) return std::nullopt;
  Case read{words[0], *cached, *wire};
  for (std::size_t place = 3; place < words.size(); ++place) {
    const auto release = readRelease(words[place]);
    if (!release) return std::nullopt;
    read.releases.push_back(*release);
  }
  return read;
}

}  // namespace vellora::releases
