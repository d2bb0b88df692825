#pragma once

#include <string>

#include "hostkit/cache/sqlite/SQLiteDatabase.h"

namespace vellora::hostkit {

/// Whose entries a database holds. It keeps a random key and the owner's digest under it, never the owner's
/// name: whoever finds the file reads no token and no user in it.
namespace sqliteOwner {

enum class Claim {
  granted,  ///< the database belongs to the owner
  refused,  ///< it belongs to another one
  failed,   ///< the database's failure tells why nobody knows
};

/// Makes the database `owner`'s unless it belongs to somebody already.
[[nodiscard]] Claim claim(SQLiteDatabase& database, const std::string& owner);

}  // namespace sqliteOwner

}  // namespace vellora::hostkit
