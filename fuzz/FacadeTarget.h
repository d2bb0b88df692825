#pragma once

#include "vellora/Platform/Values/Data.h"

namespace vellora::fuzz {

/// A whole façade in front of a server that answers anything. The input is a script of lines; the first
/// character of a line says what happens, the rest is what it happens with:
///
///     T O Q N S C body  from now on the answer to requests for themes, object types, list views, name
///     fields,
///                       search layouts, compact layouts is `body`; before the first such line they fail
///     E kind            such requests fail again, E followed by one of the letters above
///     Z kind            such requests bring neither body nor error
///     h                 answers that are given from here on are held; after the next `h` no longer
///     i n s c keys      a lookup by ids, or by names, of search layouts, of compact layouts; comma-separated
///     1 a r             one piece of queued work runs; all of it; the oldest held answer arrives
///     t                 time passes, and what is cached expires
///     x                 the façade is destroyed, and one on the same cache takes its place
///
/// At the end of the script all queued work runs, and all held answers arrive. Promises:
/// - A lookup is answered at most once, and one that must be answered is.
/// - An answer holds nothing that was not asked for.
/// - Nothing is written to the cache that the library cannot decode.
/// - Once the server is well, a lookup of something new is answered rightly.
/// - Nothing outlives the façade.
void runFacade(const Data& input);

}  // namespace vellora::fuzz
