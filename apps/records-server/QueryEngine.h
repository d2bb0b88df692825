#pragma once

#include <string>

#include "apps/records-server/DataSet.h"
#include "apps/records-server/QueryParser.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::recordsserver {

/// Answers a query from a data set: the JSON body with "count", "complete" and "records", each record with
/// its "about" and the fields that were selected, in that order.
///
/// Errors: a `QueryError` "UNKNOWN_TYPE" for an object that can't be queried, and "UNKNOWN_FIELD" for a
/// field that the object lacks or that is compared with a literal of another type.
[[nodiscard]] Result<std::string> runQuery(const QueryStatement& query, const DataSet& data);

}  // namespace vellora::recordsserver
