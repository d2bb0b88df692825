#pragma once

#include <memory>

#include "vellora/Catalog/Asked.h"
#include "vellora/Catalog/Session.h"
#include "vellora/Catalog/TypeChange.h"

namespace vellora {

/// Refreshes what a catalogue answers from, and finds out what has changed: `question` is answered with the
/// types that did.
///
/// Both lists are fetched, list views and layouts are to be fetched when they are asked for next. When a list
/// cannot be fetched the question fails, but what the other has brought is there.
void refresh(const std::shared_ptr<Session>& session,
             const std::shared_ptr<detail::Asked<TypeChange>>& question);

}  // namespace vellora
