#pragma once

#include <memory>
#include <optional>
#include <string>

#include "vellora/Host/Table.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

class CacheTable;

/// A flat store of blobs by key, and the home of the row tables. Implemented by the host; should outlive the
/// process, since what it holds is what the library can answer offline.
///
/// What you must guarantee:
/// - `load` gives back exactly the bytes last saved under the key, or nothing. A damaged blob is nothing: an
///   absent blob is fetched again, wrong bytes are not noticed.
/// - Blobs and tables are separate: no blob key names a table's rows.
///
/// What you may rely on:
/// - Results of `save` and `remove` are advisory; the library neither logs nor retries a false one.
/// - Keys are those that the caching guide lists. A type's name is part of some, so a key may hold whatever a
///   caller or the server calls a type.
///
/// Ownership: the library holds you by `std::shared_ptr`.
///
/// Threads: every call comes from several threads at once. Never call back into the library from one.
///
/// Errors: the results tell. A read that fails finds nothing, a write that fails gives false. Throw nothing
/// but `std::bad_alloc`.
class VELLORA_EXPORT Cache {
 public:
  virtual ~Cache() = default;

  /// The blob under `key`, or no value when there is none.
  [[nodiscard]] virtual std::optional<vellora::Data> load(const std::string& key) = 0;

  /// Stores `data` under `key`, replacing what was there. True when it is stored.
  virtual bool save(const vellora::Data& data, const std::string& key) = 0;

  /// Deletes the blob under `key`. True when there is none any more.
  virtual bool remove(const std::string& key) = 0;

  /// The table of that key, or null when none has been created yet. Behind `CacheTable::open`.
  [[nodiscard]] virtual std::shared_ptr<CacheTable> openTable(const std::string& tableKey) = 0;

  /// Creates the table that `table` describes; if one of that key exists, that one. Never null: a host that
  /// cannot store rows returns a table that stays empty. Behind `CacheTable::create`.
  [[nodiscard]] virtual std::shared_ptr<CacheTable> createTable(const Table& table) = 0;

  /// Lets go of what is kept in memory only so that it is found faster; nothing that was stored is lost.
  /// Called when the host's program has asked for it, with `Catalog::releaseMemory`. A cache of yours that
  /// keeps nothing so need not say so. It throws nothing.
  virtual void releaseMemory() {}

 protected:
  Cache() = default;
  Cache(const Cache&) = default;
  Cache& operator=(const Cache&) = default;
};

}  // namespace CorvaneSDK
