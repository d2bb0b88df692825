#pragma once

#include <optional>

#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// A layout, and how old it is.
///
/// Ownership: a plain value.
template <class Layout>
struct DatedLayout {
  Layout layout;
  Date fetched;
  bool isExpired = false;
  std::optional<Error> reason = {};  ///< why it is no newer, where the server was asked and failed
};

}  // namespace vellora
