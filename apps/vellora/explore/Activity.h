#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::explore {

/// One thing that the library did with its host.
struct ActivityEntry {
  std::int64_t number = 0;  ///< counts up from 1
  double at = 0;            ///< seconds since 1970
  std::string source;       ///< "cache", "network" or "prefetch"
  std::string what;         ///< a key, a table and its row, a request, a state
  std::string outcome;      ///< such as "hit", "miss", "saved", "status 200", "failed: …", "loaded"
  std::int64_t bytes = 0;
  std::optional<double> milliseconds = {};  ///< how long a request took

  static constexpr auto fields() {
    return std::tuple(
        json::field("number", &ActivityEntry::number), json::field("at", &ActivityEntry::at),
        json::field("source", &ActivityEntry::source), json::field("what", &ActivityEntry::what),
        json::field("outcome", &ActivityEntry::outcome), json::field("bytes", &ActivityEntry::bytes),
        json::field("milliseconds", &ActivityEntry::milliseconds));
  }
};

/// How often each thing has happened since the start.
struct ActivityTotals {
  std::int64_t hits = 0;
  std::int64_t misses = 0;
  std::int64_t requests = 0;
  std::int64_t answers = 0;   ///< whose status was a success
  std::int64_t failures = 0;  ///< refused requests included
  std::int64_t bytesFromCache = 0;
  std::int64_t bytesFromNetwork = 0;

  static constexpr auto fields() {
    return std::tuple(
        json::field("hits", &ActivityTotals::hits), json::field("misses", &ActivityTotals::misses),
        json::field("requests", &ActivityTotals::requests), json::field("answers", &ActivityTotals::answers),
        json::field("failures", &ActivityTotals::failures),
        json::field("bytesFromCache", &ActivityTotals::bytesFromCache),
        json::field("bytesFromNetwork", &ActivityTotals::bytesFromNetwork));
  }
};

/// What came from the cache and what from the network: the newest entries, and totals of all.
///
/// Threads: synchronises itself.
class Activity {
 public:
  /// Older entries are forgotten.
  static constexpr std::size_t mostEntries = 400;

  /// `secrets` are kept out of the entries, which name what the server named.
  explicit Activity(
      std::shared_ptr<const hostkit::KnownSecrets> secrets = std::make_shared<hostkit::KnownSecrets>());

  void noteCache(std::string what, std::string outcome, std::size_t bytes);
  void noteRequest();
  void noteAnswer(std::string what, int status, std::size_t bytes, double milliseconds);
  void noteFailure(std::string what, const std::string& reason, double milliseconds);
  void notePrefetch(std::string_view state);

  /// The entries behind the one of that number, oldest first.
  [[nodiscard]] std::vector<ActivityEntry> after(std::int64_t number) const;
  [[nodiscard]] ActivityTotals totals() const;

 private:
  void add(ActivityEntry entry);

  const std::shared_ptr<const hostkit::KnownSecrets> secrets_;
  mutable std::mutex mutex_;
  std::int64_t last_ = 0;
  std::deque<ActivityEntry> entries_;
  ActivityTotals totals_;
};

/// Calls `note`, which notes something, or leaves that out where there is no memory for it: who is observed
/// must not come to grief by it.
template <class Note>
void noteWhereThereIsMemory(Note note) noexcept {
  try {
    note();
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): one line less is shown
  }
}

}  // namespace vellora::explore
