#pragma once

#include <cstddef>
#include <iterator>
#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "vellora/Catalog/Answer.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// The answer to a question while it is being written: it sees to it that each key is accounted for once.
///
/// Ownership: owns the answer.
///
/// Threads: for one thread at a time.
///
/// Errors: a note for which there is no memory throws `std::bad_alloc`, and leaves its key open. Closing
/// takes no memory, so each key is accounted for all the same.
template <class T>
class Sheet {
 public:
  /// Each of `keys`, which are best in order, is open until it is accounted for.
  explicit Sheet(const std::vector<std::string>& keys) {
    const Missing open(Missing::Why::failed);
    for (const auto& key : keys) open_.emplace_hint(open_.end(), key, open);
    next_ = open_.begin();
    openCount_ = open_.size();
  }
  Sheet(const Sheet&) = delete;  // `next_` refers to `open_`
  Sheet& operator=(const Sheet&) = delete;

  /// Takes note of an open key. Of a key that is accounted for already, or was not asked for, nothing.
  void found(const std::string& key, T value) {
    if (const auto open = openKey(key); open != open_.end()) find(open, std::move(value));
  }
  /// The same with an age of its own. That of the first is the common age, unless there is one, so that it
  /// need not be noted for each key that has come at the same time.
  void found(const std::string& key, T&& value, const Age& age) {
    const auto open = openKey(key);
    if (open == open_.end()) return;
    if (!hasAge_ && answer_.found.empty()) setAge(age);
    if (age == answer_.age) return find(open, std::move(value));
    const auto noted = answer_.otherAges.emplace_hint(answer_.otherAges.end(), key, age);
    try {
      find(open, std::move(value));
    } catch (const std::bad_alloc&) {
      answer_.otherAges.erase(noted);
      throw;
    }
  }
  // NOLINTNEXTLINE(performance-unnecessary-value-param): it is moved from, as the linter does not see here
  void missed(const std::string& key, Missing missing) {
    const auto open = openKey(key);
    if (open == open_.end()) return;
    auto node = open_.extract(accounted(open));
    node.mapped() = std::move(missing);
    answer_.missing.insert(answer_.missing.end(), std::move(node));
  }

  /// An answer for a key that nobody named.
  void listed(std::string key, T value) { answer_.found.insert_or_assign(std::move(key), std::move(value)); }

  /// The age of what is found without one of its own; to be told before anything is found.
  void setAge(const Age& age) {
    answer_.age = age;
    hasAge_ = true;
  }

  /// Keeps the first.
  void trouble(const Failure& failure) noexcept {
    if (!answer_.trouble) answer_.trouble = failure;
  }

  /// Whether a key is open.
  [[nodiscard]] bool isOpen() const { return openCount_ > 0; }

  /// Gives all open keys the reason `rest`, and the answer its end. An answer without anything found is
  /// `failed` when a key could not be asked; one that is `failed` says why in `trouble`. Takes no memory.
  void close(End end, const Missing& rest) noexcept {
    if (end == End::failed && rest.failure()) trouble(*rest.failure());
    closeOpen(rest);
    for (const auto& [key, missing] : answer_.missing) {
      if (missing.why() != Missing::Why::failed) continue;
      if (missing.failure()) trouble(*missing.failure());
      if (end == End::answered && answer_.found.empty()) end = End::failed;
    }
    answer_.end = hasFailed_ && end == End::answered ? End::failed : end;
  }

  /// Makes `failed` of an end as `answered`. Takes no memory.
  void fail(const Error& error) noexcept {
    trouble(Failure(error));
    hasFailed_ = true;
    answer_.end = End::failed;
  }

  /// The answer, as far as it is written.
  [[nodiscard]] const Answer<T>& answer() const noexcept { return answer_; }

  [[nodiscard]] Answer<T> take() { return std::move(answer_); }

 private:
  using Open = std::map<std::string, Missing>;

  /// The entry of `key` in `open_`, or its end.
  [[nodiscard]] typename Open::iterator openKey(const std::string& key) {
    const auto entry = next_ != open_.end() && next_->first == key ? next_ : open_.find(key);
    return entry == open_.end() || isFound(entry->second) ? open_.end() : entry;
  }

  /// Counts the key of `open` as accounted for, and sets `next_` to the entry behind it.
  typename Open::iterator accounted(typename Open::iterator open) {
    next_ = std::next(open);
    --openCount_;
    return open;
  }

  void closeOpen(const Missing& rest) noexcept {
    if (openCount_ == 0) return;
    std::erase_if(open_, [](const auto& entry) { return isFound(entry.second); });
    for (auto& [key, missing] : open_) missing = rest;
    answer_.missing.merge(open_);
    next_ = open_.end();
    openCount_ = 0;
  }

  void find(typename Open::iterator open, T&& value) {
    answer_.found.emplace_hint(answer_.found.end(), open->first, std::move(value));
    accounted(open)->second = foundMark();
  }

  /// Marks the entry of a found key in `open_`. It stays there: erasing all of them at the end costs less
  /// than one at a time.
  [[nodiscard]] static Missing foundMark() { return Missing(Missing::Why::unknown); }
  [[nodiscard]] static bool isFound(const Missing& entry) { return entry.why() == Missing::Why::unknown; }

  // Most keys are accounted for in their order. Each is then the next one that is open, and belongs at the
  // end of what is found: nothing is searched.
  Open open_;                     // by the nodes that `missing` gets
  typename Open::iterator next_;  // behind the one that was accounted for last
  Answer<T> answer_;
  std::size_t openCount_ = 0;
  bool hasAge_ = false;
  bool hasFailed_ = false;
};

}  // namespace vellora
