#include "fuzz/KeptBodyTarget.h"

#include <string>
#include <string_view>

#include "fuzz/Target.h"
#include "hostkit/bodies/KeptBody.h"
#include "hostkit/network/Validators.h"

namespace vellora::fuzz {

void runKeptBody(const Data& input) {
  const auto kept = hostkit::keptBodyIn(input, "request");
  if (!kept) return;
  require(hostkit::storedForm(*kept, "request") == input, "what is read is stored as the same bytes");
  require(!hostkit::keptBodyIn(input, "another"), "what is kept for a request answers no other one");
  const std::string condition = hostkit::conditionOn(kept->headers);
  if (!hostkit::canBeAskedFor(kept->headers)) return;
  require(condition.starts_with("If-"), "what can be asked for is asked for with a condition");
  require(condition.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos,
          "a condition stays on its line");
}

}  // namespace vellora::fuzz
