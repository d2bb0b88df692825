#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>

#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

/// Remembers what was last made of some bytes, for as long as the same bytes come again. What is made must
/// follow from the bytes alone. Failures are not remembered: the same bytes fail anew each time.
///
/// Memory: one value and its bytes, which are shared with whoever handed them in. Of more bytes than
/// `largest` nothing is kept.
///
/// Ownership: a value that was handed out lives on when other bytes take its place.
///
/// Threads: safe to use from several threads at once; two that meet new bytes at the same time each make a
/// value. No lock is held meanwhile, nor while bytes are compared.
template <class T>
class Remembered {
 public:
  /// In bytes: room for the theme entries, with six icons each, of 13,000 object types.
  static constexpr std::size_t standardLargest = std::size_t{16} << 20U;

  explicit Remembered(std::size_t largest = standardLargest) : largest_(largest) {}
  Remembered(const Remembered&) = delete;
  Remembered& operator=(const Remembered&) = delete;

  /// What `make` (from `const Data&` to `Result<T>`) makes of `bytes`, now or when they last came. That they
  /// are the same is seen at once where the buffer is shared; else the bytes are compared.
  template <class Make>
  [[nodiscard]] Result<std::shared_ptr<const T>> madeOf(const Data& bytes, Make make) const {
    if (const Entry last = entry(); last.value && last.bytes == bytes) return last.value;
    Result<T> made = make(bytes);
    if (!made) return made.error();
    Entry fresh{bytes, std::make_shared<const T>(std::move(made).value())};
    auto value = fresh.value;
    replaceBy(bytes.size() <= largest_ ? std::move(fresh) : Entry());
    return value;
  }

  /// Lets go of what is remembered.
  void forget() const { replaceBy(Entry()); }

 private:
  struct Entry {
    Data bytes;
    std::shared_ptr<const T> value;  // null when nothing is remembered
  };

  Entry entry() const {
    const std::lock_guard lock(mutex_);
    return entry_;
  }

  void replaceBy(Entry fresh) const {  // what was there is destroyed outside the lock
    const std::lock_guard lock(mutex_);
    std::swap(entry_, fresh);
  }

  const std::size_t largest_;
  mutable std::mutex mutex_;
  mutable Entry entry_;
};

}  // namespace vellora
