#pragma once

#include <cstdint>
#include <memory>

struct sqlite3_vfs;

namespace vellora::hostkit::tests {

/// SQLite's file layer on this machine, with a fault at one of its calls. It is the default layer for all
/// connections opened while it lives, so what is tested needs no door for tests.
///
/// Calls are counted from 1. Closing, unlocking and asking for a size do not count: no disk fails them.
///
/// Ownership: connections opened through it must be closed before it goes.
///
/// Threads: one at a time.
class FaultyFiles {
 public:
  enum class Fault {
    full,   ///< a write stores half of its bytes and fails for lack of room; only what needs room counts
    error,  ///< the call fails as a broken disk's would, without doing anything
    busy,   ///< another process holds the file, or is writing to its log; only locks count
  };
  enum class Lasting { once, fromThenOn };

  FaultyFiles();
  ~FaultyFiles();
  FaultyFiles(const FaultyFiles&) = delete;
  FaultyFiles& operator=(const FaultyFiles&) = delete;

  /// Begins to count anew; call number `call` of those that count for `fault` is the one that fails.
  void failAt(std::int64_t call, Fault fault, Lasting lasting);

  /// No faults any more.
  void heal();

  /// True when a call has failed since `failAt`.
  [[nodiscard]] bool hasFailed() const;

 private:
  struct Layer;
  const std::unique_ptr<Layer> layer_;
};

}  // namespace vellora::hostkit::tests
