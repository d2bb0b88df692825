#pragma once

#include "vellora/Platform/Values/Data.h"

namespace vellora::fuzz {

/// The URL builder. Promises: the query of a request is one item "q" of unescaped or percent-encoded
/// characters, which decodes to the text it was made of; what is parsed as a URL still is one with a new
/// query.
void runUrl(const Data& input);

}  // namespace vellora::fuzz
