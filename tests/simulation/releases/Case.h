#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vellora::releases {

/// What is released.
enum class Thing {
  owner,       ///< the façade, service or catalogue that was asked
  token,       ///< the token of the question, subscription or watch
  network,     ///< the host's own handle to its network, as the next three
  cache,       //
  logger,      //
  answersOn,   ///< the queue of a catalogue's answers, and a façade's
  timer,       ///< a catalogue's
  handles,     ///< all handles of the host
  everything,  ///< these and the owner, so that network and cache go where nothing under way holds them
};

/// What the cache has when an operation begins.
enum class Cached {
  nothing,
  fresh,    ///< all that the same operation of another owner has left there
  expired,  ///< the same, too old
  loaded,   ///< both lists, which the owner itself has loaded
};

/// How the network answers, and in which order things happen.
enum class Wire {
  right,         ///< when no queue has work
  networkFirst,  ///< before any queue's work runs
  newestFirst,   ///< when no queue has work, the newest request first
  atOnce,        ///< inside the call that sends
  failing,       ///< with an error that may pass
  silent,        ///< never; only deadlines come
};

template <class Enumeration>
struct Words;  // "static constexpr std::array all" of the words of an enumeration, in its order

template <>
struct Words<Thing> {
  static constexpr std::array all{"owner",     "token", "network", "cache",     "logger",
                                  "answersOn", "timer", "handles", "everything"};
};
template <>
struct Words<Cached> {
  static constexpr std::array all{"nothing", "fresh", "expired", "loaded"};
};
template <>
struct Words<Wire> {
  static constexpr std::array all{"right", "networkFirst", "newestFirst", "atOnce", "failing", "silent"};
};

/// All values of an enumeration.
template <class Enumeration>
[[nodiscard]] std::vector<Enumeration> every() {
  std::vector<Enumeration> values;
  for (std::size_t value = 0; value < Words<Enumeration>::all.size(); ++value) {
    values.push_back(static_cast<Enumeration>(value));
  }
  return values;
}

struct Release {
  Thing thing;
  std::size_t moment;  ///< counted from 1
};

/// One run: an operation by its name, what surrounds it, and what is released when.
struct Case {
  std::string operation;
  Cached cached = Cached::nothing;
  Wire wire = Wire::right;
  std::vector<Release> releases = {};

  /// Whether `thing` is released.
  [[nodiscard]] bool has(Thing thing) const;

  /// "records fresh right owner@7 network@9": its words, which `read` takes.
  [[nodiscard]] std::string text() const;
  [[nodiscard]] static std::optional<Case> read(const std::vector<std::string>& words);
};

}  // namespace vellora::releases
