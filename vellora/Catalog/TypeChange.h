#pragma once

namespace vellora {

/// What a refresh has found out about an object type.
enum class TypeChange {
  added,    ///< the server knows it now
  removed,  ///< the server doesn't know it any more
  changed,  ///< its labels, its theme entry, or whether it is createable
};

}  // namespace vellora
