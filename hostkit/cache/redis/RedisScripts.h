#pragma once

#include <string>

namespace vellora::hostkit::redisScripts {

/// The scripts that a Redis runs for the tables of a cache, each in one piece: whoever reads sees all of a
/// write or nothing.
///
/// KEYS: 1 the order, 2 the metas, 3 and on what the script says. A row is there while the order names it
/// with the number that the row bears.

/// Stores a row. KEYS: 3 the table's record. ARGV: 1 what rows' names begin with, 2 what pairs' names begin
/// with, 3 data key, 4 date, 5 checksum, 6 meta, 7 data, 8 maximum age in seconds, 9 the record, 10 checksum
/// of the row without its data.
extern const std::string write;

/// Gives the rows, the one that was written first comes first: data key, number, date, checksum, meta and
/// data of each. KEYS: 3 and on the sets that a row must be in. ARGV: 1 what rows' names begin with; 2 the
/// data key of the only row that is wanted, else nothing.
extern const std::string read;

/// The same of rows whose data is as it was written: data key, number, date, checksum without the data, and
/// meta of each.
extern const std::string readWithoutData;

/// Gives data key, number and meta of the rows, also of those that expired. KEYS and ARGV as for `read`.
extern const std::string readHeads;

/// Deletes rows. ARGV: 1 and 2 as for `write`; then data key and number of each row.
extern const std::string remove;

}  // namespace vellora::hostkit::redisScripts
