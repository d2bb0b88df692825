#pragma once

#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Keys.h"
#include "vellora/Catalog/Readiness.h"
#include "vellora/Catalog/TypeChange.h"
#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

// A whole answer as one JSON text: what was found, what is missing and why, and how old it is. It is the one
// form in which answers leave C++: the command prints it, and other languages read it. The folder of schemas
// has one for each.
//
//     {"question": "records", "end": "answered",
//      "found": [{"key": "001…", "record": {"typePresentationInfo": {…}},
//                 "fetched": "2026-11-22T08:00:00Z", "stale": false}],
//      "missing": [{"key": "999…", "code": "unknown", "text": "unknown to the server"},
//                  {"key": "00B…", "code": "failed", "text": "could not be asked: 401 … (/services/…)",
//                   "request": "/services/…"}],
//      "trouble": {"text": "401 … (/services/…)", "request": "/services/…"},
//      "fetched": "2026-11-22T08:00:00Z", "stale": false}
//
// "found" and "missing" are in the order of `asked`, each key once; where nothing was named, in the order of
// the keys. "fetched" is when the server gave it, in UTC; it is left out where that is not known. "stale"
// says whether that is longer ago than the catalogue's time-out. "request" is left out where the reason is no
// request, "trouble" where there was none. A byte of a key or a reason that is not UTF-8 stands there as
// U+FFFD.
//
// Threads: each may be called from several threads at once.
//
// Errors: an `EncodingError` for a record whose texts are not UTF-8; the catalogue finds none.

/// What `Catalog::records` has answered to these ids.
[[nodiscard]] VELLORA_EXPORT Result<Data> recordsDocument(const Answer<ObjectPresentationInfo>& answer,
                                                          const Keys& asked);

/// What `Catalog::types` has answered to these names.
[[nodiscard]] VELLORA_EXPORT Result<Data> typesDocument(const Answer<ObjectPresentationInfo>& answer,
                                                        const Keys& asked);

/// What `Catalog::allTypes` has answered.
[[nodiscard]] VELLORA_EXPORT Result<Data> allTypesDocument(const Answer<ObjectPresentationInfo>& answer);

/// What `Catalog::searchColumns` has answered to these names.
[[nodiscard]] VELLORA_EXPORT Result<Data> searchColumnsDocument(const Answer<ObjectLayoutInfo>& answer,
                                                                const Keys& asked);

/// What `Catalog::headlines` has answered to these names.
[[nodiscard]] VELLORA_EXPORT Result<Data> headlinesDocument(const Answer<ObjectCompactLayoutInfo>& answer,
                                                            const Keys& asked);

/// What `Catalog::refresh` has answered. What was found has "change" in place of "record": "added",
/// "removed" or "changed".
[[nodiscard]] VELLORA_EXPORT Result<Data> refreshDocument(const Answer<TypeChange>& answer);

/// What `Catalog::readiness` says:
///
///     {"question": "readiness", "state": "failed", "trouble": {"text": "…", "request": "/services/…"}}
///
/// The state is "loading", "ready" or "failed".
[[nodiscard]] VELLORA_EXPORT Result<Data> readinessDocument(const Readiness& readiness);

}  // namespace vellora
