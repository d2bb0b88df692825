#include "fuzz/KeptBodyTarget.h"

#include "fuzz/Target.h"
#include "hostkit/bodies/KeptBody.h"

namespace vellora::fuzz {

void runKeptBody(const Data& input) {
  const auto kept = hostkit::keptBodyIn(input, "request");
  if (!kept) return;
  require(hostkit::storedForm(*kept, "request") == input, "what is read is stored as the same bytes");
  require(!hostkit::keptBodyIn(input, "another"), "what is kept for a request answers no other one");
}

}  // namespace vellora::fuzz
