#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/simulation/SimulatedServer.h"

namespace vellora::simulation {

/// One request, and what became of it.
struct SentRequest {
  enum class Outcome { pending, good, faulty, dropped };

  SimulatedServer::Endpoint endpoint;
  Outcome outcome = Outcome::pending;
  int revision = 0;  ///< of a good answer
};

/// What a cache gave for a layout blob.
struct HandedLayout {
  std::string name;
  std::optional<int> revision = {};  ///< none: no blob, or one that cannot be read
  bool expired = false;
};

/// Why something happens: a lookup, or a prefetch. Every piece of queued work, every request and every read
/// of the cache belongs to the cause that led to it, and the cause remembers what the host handed out for it.
/// So it can be told afterwards, without a look into the library, what the right answer was.
struct Cause {
  enum class Kind {
    nobody,
    prefetch,
    // Of a façade.
    ids,
    names,
    searchLayouts,
    compactLayouts,
    // Of a service of its own.
    sObjectsLoad,
    themesLoad,
    sObjectsForIds,
    sObjectsForNames,
    themes,
    searchLayoutList,
    compactLayoutList,
    // All that a catalogue does: its questions share requests and reads.
    catalog,
  };

  Kind kind = Kind::nobody;
  int number = 0;
  std::vector<std::string> keys;

  // What the host did for it.
  std::vector<std::shared_ptr<SentRequest>> requests;
  std::set<std::string> handed;                     ///< the marks of all records
  std::map<std::string, std::vector<bool>> mapped;  ///< by key prefix: whether each reading told its type
  std::vector<HandedLayout> layouts;                ///< in the order of reading
  int queued = 0;                                   ///< pieces of work that wait or run
  int repeats = 0;                                  ///< answers that will come once more
  std::string prefixAsked;  ///< of the reading that may go on in the table of prefixes

  // What the library did.
  bool begun = false;       ///< an id lookup: it no longer waits for a prefetch
  bool superseded = false;  ///< a compact layout lookup: another one's download has overtaken it
  bool forgiven = false;    ///< what it belongs to was released or cancelled: no answer is due
  int calls = 0;            ///< of its completion

  [[nodiscard]] bool has(SentRequest::Outcome outcome) const {
    return std::any_of(requests.begin(), requests.end(),
                       [&](const auto& request) { return request->outcome == outcome; });
  }
  [[nodiscard]] bool failed() const { return has(SentRequest::Outcome::faulty); }
  [[nodiscard]] bool busy() const { return queued > 0 || repeats > 0 || has(SentRequest::Outcome::pending); }

  /// The only request to that endpoint, if there was one; a layout lookup sends at most one to each.
  [[nodiscard]] const SentRequest* requestTo(SimulatedServer::Endpoint endpoint) const {
    const auto found = std::find_if(requests.begin(), requests.end(),
                                    [&](const auto& request) { return request->endpoint == endpoint; });
    return found == requests.end() ? nullptr : found->get();
  }

  [[nodiscard]] bool wasHanded(std::string_view name, SimulatedServer::Mark mark, int revision) const {
    return handed.contains(SimulatedServer::mark(name, mark, revision));
  }

  /// Its name in a trace.
  [[nodiscard]] std::string title() const {
    static constexpr const char* kinds[] = {"nobody",
                                            "prefetch",
                                            "ids",
                                            "names",
                                            "searchLayouts",
                                            "compactLayouts",
                                            "sObjectsLoad",
                                            "themesLoad",
                                            "sObjectsForIds",
                                            "sObjectsForNames",
                                            "themes",
                                            "searchLayoutList",
                                            "compactLayoutList",
                                            "catalog"};
    std::string text = std::string(kinds[static_cast<std::size_t>(kind)]) + " " + std::to_string(number);
    for (const auto& key : keys) text += " " + key;
    return text;
  }
};

using CausePtr = std::shared_ptr<Cause>;

}  // namespace vellora::simulation
