#pragma once

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
  }

  /// Takes note of an open key. Of a key that is accounted for already, or was not asked for, nothing.
  void found(const std::string& key, T value) {
    auto node = open_.extract(key);
    if (!node) return;
    try {
      answer_.found.emplace(std::move(node.key()), std::move(value));
    } catch (const std::bad_alloc&) {
      open_.insert(std::move(node));
      throw;
    }
  }
  /// The same with an age of its own. That of the first is the common age, unless there is one, so that it
  /// need not be noted for each key that has come at the same time.
  void found(const std::string& key, T value, const Age& age) {
    if (!open_.contains(key)) return;
    if (!hasAge_ && answer_.found.empty()) setAge(age);
    if (age == answer_.age) return found(key, std::move(value));
    const auto noted = answer_.otherAges.emplace(key, age).first;
    try {
      found(key, std::move(value));
    } catch (const std::bad_alloc&) {
      answer_.otherAges.erase(noted);
      throw;
    }
  }
  void missed(const std::string& key, Missing missing) {
    auto node = open_.extract(key);
    if (!node) return;
    node.mapped() = std::move(missing);
    answer_.missing.insert(std::move(node));
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
  [[nodiscard]] bool isOpen() const { return !open_.empty(); }

  /// Gives all open keys the reason `rest`, and the answer its end. An answer without anything found is
  /// `failed` when a key could not be asked; one that is `failed` says why in `trouble`. Takes no memory.
  void close(End end, const Missing& rest) noexcept {
    if (end == End::failed && rest.failure()) trouble(*rest.failure());
    for (auto& [key, missing] : open_) missing = rest;
    answer_.missing.merge(open_);
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
  std::map<std::string, Missing> open_;  // by the nodes that `missing` gets
  Answer<T> answer_;
  bool hasAge_ = false;
  bool hasFailed_ = false;
};

}  // namespace vellora
