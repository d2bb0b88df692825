#pragma once

#include <map>
#include <string>
#include <vector>

#include "vellora/Models/CompactLayoutResults.h"
#include "vellora/Platform/Values/Export.h"

// The reference fields of compact layouts, which point to other records, and the name fields of those.

namespace vellora {

/// The object types that the reference fields of the layouts point to. Every field counts, so a type may come
/// twice; parts of compound fields do not.
[[nodiscard]] VELLORA_EXPORT std::vector<std::string> typesReferredTo(
    const CompactLayoutResults& compactLayoutResults);

/// The same as a query lists them: 'User','Account'. Without any it is ''.
[[nodiscard]] VELLORA_EXPORT std::string referenceTypeFields(
    const CompactLayoutResults& compactLayoutResults);

/// Rewrites the `apiName` of every field, of whatever type, that points to an object type in `entityApiNames`
/// and has a relationship name: that name, a full stop, and the object type's name field. Parts of compound
/// fields stay as they are. The fields are rewritten in place, for everybody who shares them.
VELLORA_EXPORT void updateReferenceTypeFields(const std::map<std::string, std::string>& entityApiNames,
                                              const CompactLayoutResults& compactLayoutResults);

/// The same layouts with fields of their own, which can be rewritten while others read those of
/// `compactLayoutResults`. Parts of compound fields are shared.
[[nodiscard]] VELLORA_EXPORT CompactLayoutResults
withOwnFields(const CompactLayoutResults& compactLayoutResults);

}  // namespace vellora
