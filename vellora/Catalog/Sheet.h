#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>

#include "vellora/Catalog/Answer.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// The answer to a question while it is being written: it sees to it that each key is accounted for once.
///
/// Ownership: owns the answer.
///
/// Threads: for one thread at a time.
template <class T>
class Sheet {
 public:
  /// Each of `keys` is open until it is accounted for.
  explicit Sheet(std::set<std::string> keys) : open_(std::move(keys)) {}

  /// Takes note of an open key. Of a key that is accounted for already, or was not asked for, nothing.
  void found(const std::string& key, T value) {
    if (auto node = open_.extract(key)) answer_.found.emplace(std::move(node.value()), std::move(value));
  }
  void found(const std::string& key, T value, const Age& age) {
    if (auto node = open_.extract(key)) {
      answer_.otherAges.emplace(key, age);
      answer_.found.emplace(std::move(node.value()), std::move(value));
    }
  }
  void missed(const std::string& key, Missing missing) {
    if (auto node = open_.extract(key)) answer_.missing.emplace(std::move(node.value()), std::move(missing));
  }

  /// An answer for a key that nobody named.
  void listed(std::string key, T value) { answer_.found.insert_or_assign(std::move(key), std::move(value)); }

  void setAge(const Age& age) { answer_.age = age; }

  /// Keeps the first.
  void trouble(Failure failure) {
    if (!answer_.trouble) answer_.trouble = std::move(failure);
  }

  /// Whether a key is open.
  [[nodiscard]] bool isOpen() const { return !open_.empty(); }

  /// Gives all open keys the reason `rest`, and the answer its end. An answer without anything found is
  /// `failed` when a key could not be asked.
  void close(End end, const Missing& rest) {
    while (!open_.empty()) {
      answer_.missing.emplace(std::move(open_.extract(open_.begin()).value()), rest);
    }
    for (const auto& [key, missing] : answer_.missing) {
      if (missing.why() != Missing::Why::failed) continue;
      trouble(*missing.failure());
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
  std::set<std::string> open_;
  Answer<T> answer_;
  bool hasFailed_ = false;
};

}  // namespace vellora
