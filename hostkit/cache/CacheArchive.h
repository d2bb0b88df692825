#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/CacheArchiveError.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// The entries of a cache as one text, to be carried from one cache to another: an app ships one, restores it
/// into its empty cache, and can answer at its first start without a network.
///
/// The text is JSON with a line for each entry, so that a repository shows what changed in it; a checksum
/// tells when it was changed by hand. It holds no more secrets than the cache does: what the server told of
/// its object types, to the user whose cache it was.
///
///     const auto archive = CacheArchive::decode(shippedText);
///     if (!archive || archive.value().foundIn(*cache)) return;
///     if (!archive.value().restore(*cache)) report("the archive was not restored whole");
///
/// Ownership: a plain value.
///
/// Threads: as any value; `foundIn` and `restore` call the cache on the caller's thread.
///
/// Errors: told by each call; restoring tells by its result.
struct VELLORA_EXPORT CacheArchive {
  /// An entry of `Cache::save`.
  struct Blob {
    std::string key;
    Data data;

    friend bool operator==(const Blob&, const Blob&) = default;
  };

  /// An entry of a table.
  struct Row {
    CorvaneSDK::Meta meta;
    std::optional<std::string> dataKey;  ///< absent: the cache that it is restored into keys it by its meta
    Data data;

    friend bool operator==(const Row&, const Row&) = default;
  };

  /// A table, be it without rows. All tables keep their rows for seven days.
  struct Table {
    std::string key;
    std::vector<Row> rows;  ///< in the order in which they were written

    friend bool operator==(const Table&, const Table&) = default;
  };

  std::vector<Blob> blobs;
  std::vector<Table> tables;

  /// What `contents` holds that its cache would return: damaged and outdated entries are left out. So are the
  /// bodies that a network has kept there, which are of use to one user alone.
  [[nodiscard]] static CacheArchive of(const SQLiteCacheContents& contents);

  /// Reads the text of an archive. Fails with a `DecodingError` for what is not JSON, else with a
  /// `CacheArchiveError`.
  [[nodiscard]] static Result<CacheArchive> decode(const Data& text);

  /// The text. What is not UTF-8, be it a key, stands there in hexadecimal digits; a text with such a key is
  /// of the format's second version, any other of the first.
  [[nodiscard]] Result<Data> encode() const;

  /// The same entries as if all had been fetched at `time`, so that a data service takes them for as fresh as
  /// that. Without it they are as old as they were where they come from.
  [[nodiscard]] CacheArchive fetchedAt(Date time) const;

  /// The key of a table of this archive that has rows in `cache` already, or of a blob that is there already;
  /// no value when there is none. Restoring would mix with the one, and replace the other.
  [[nodiscard]] std::optional<std::string> foundIn(CorvaneSDK::Cache& cache) const;

  /// Stores every entry in `cache`, in place of an earlier one of the same key: the tables' rows first, the
  /// blobs, among them the moments of the fetches, after them. Rows count as written now. True when all was
  /// stored. Call it before the cache is handed to the library.
  [[nodiscard]] bool restore(CorvaneSDK::Cache& cache) const;

  friend bool operator==(const CacheArchive&, const CacheArchive&) = default;
};

}  // namespace vellora::hostkit
