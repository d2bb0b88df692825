#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "hostkit/cache/rows/StoredRow.h"

namespace vellora::hostkit {

/// The large rows that were read last. A list of thousands of types is asked for again and again, if only to
/// see that it is there; so it is read and verified once, and its bytes are then handed out, shared.
///
/// A row never changes under its sequence, and no sequence is used twice: what was verified once is what the
/// row holds, as long as the file still has it.
///
/// Ownership: part of a connection, since another file has other rows.
///
/// Threads: one at a time, as the connection.
///
/// Units: bytes.
class LargeRows {
 public:
  /// A row of fewer bytes is read from the file faster than it is found here.
  static constexpr std::size_t smallestSize = std::size_t{16} << 10U;

  /// How many bytes all rows together may have: room for the lists of 13,000 types.
  static constexpr std::size_t standardCapacity = std::size_t{16} << 20U;

  /// What must be the same for the row to be the same.
  struct Identity {
    std::int64_t sequence = 0;
    std::int64_t headChecksum = 0;  ///< over everything but the data
    std::int64_t checksum = 0;      ///< that the row bears

    friend bool operator==(const Identity&, const Identity&) = default;
  };

  explicit LargeRows(std::size_t capacity = standardCapacity) : capacity_(capacity) {}

  /// Null when it is not kept.
  [[nodiscard]] std::shared_ptr<const StoredRow> find(const Identity& identity);

  /// Keeps a verified row in place of those that were asked for longest ago.
  void keep(const Identity& identity, std::shared_ptr<const StoredRow> row);

  /// Lets go of a row that is deleted.
  void forget(std::int64_t sequence);

  /// Lets go of all rows.
  void forgetAll();

 private:
  struct Kept {
    Identity identity;
    std::shared_ptr<const StoredRow> row;
  };

  const std::size_t capacity_;
  std::size_t size_ = 0;
  std::vector<Kept> rows_;  // the one asked for last is at the end
};

}  // namespace vellora::hostkit
