#pragma once

#include "vellora/Platform/Values/Data.h"

namespace vellora::fuzz {

/// The URL builder. Promises:
/// - The query of a request is one item "q", of unescaped and percent-encoded characters.
/// - It decodes to the text that it was made of.
/// - A URL that can be parsed can still be parsed when it gets a new query.
void runUrl(const Data& input);

}  // namespace vellora::fuzz
