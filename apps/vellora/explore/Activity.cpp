#include "apps/vellora/explore/Activity.h"

#include <algorithm>
#include <utility>

#include "vellora/Platform/Values/Date.h"

namespace vellora::explore {

Activity::Activity(std::shared_ptr<const hostkit::KnownSecrets> secrets) : secrets_(std::move(secrets)) {}

void Activity::noteCache(std::string what, std::string outcome, std::size_t bytes) {
  const std::lock_guard lock(mutex_);
  const auto size = static_cast<std::int64_t>(bytes);
  if (outcome == "hit") ++totals_.hits, totals_.bytesFromCache += size;
  if (outcome == "miss") ++totals_.misses;
  add({.source = "cache", .what = std::move(what), .outcome = std::move(outcome), .bytes = size});
}

void Activity::noteRequest() {
  const std::lock_guard lock(mutex_);
  ++totals_.requests;
}

void Activity::noteAnswer(std::string what, int status, std::size_t bytes, double milliseconds) {
  const std::lock_guard lock(mutex_);
  ++totals_.answers;
  totals_.bytesFromNetwork += static_cast<std::int64_t>(bytes);
  add({.source = "network",
       .what = std::move(what),
       .outcome = status == 0 ? "answered" : "status " + std::to_string(status),
       .bytes = static_cast<std::int64_t>(bytes),
       .milliseconds = milliseconds});
}

void Activity::noteFailure(std::string what, const std::string& reason, double milliseconds) {
  const std::lock_guard lock(mutex_);
  ++totals_.failures;
  add({.source = "network",
       .what = std::move(what),
       .outcome = "failed: " + reason,
       .milliseconds = milliseconds});
}

void Activity::notePrefetch(std::string_view state) {
  const std::lock_guard lock(mutex_);
  add({.source = "prefetch", .what = "prefetch", .outcome = std::string(state)});
}

void Activity::add(ActivityEntry entry) {
  entry.what = secrets_->cleaned(entry.what);
  entry.outcome = secrets_->cleaned(entry.outcome);
  entry.number = ++last_;
  entry.at = now().secondsSince1970();
  entries_.push_back(std::move(entry));
  if (entries_.size() > mostEntries) entries_.pop_front();
}

std::vector<ActivityEntry> Activity::after(std::int64_t number) const {
  const std::lock_guard lock(mutex_);
  const auto first = std::find_if(entries_.begin(), entries_.end(),
                                  [number](const ActivityEntry& entry) { return entry.number > number; });
  return {first, entries_.end()};
}

ActivityTotals Activity::totals() const {
  const std::lock_guard lock(mutex_);
  return totals_;
}

}  // namespace vellora::explore
