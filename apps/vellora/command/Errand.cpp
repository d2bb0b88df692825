#include "apps/vellora/command/Errand.h"

#include <utility>

#include "apps/vellora/command/Narration.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/ProgressLine.h"
#include "hostkit/secrets/KnownSecrets.h"

namespace vellora::command {

Errand::Errand(const Arguments& arguments, std::string what)
    : output_(arguments.output),
      what_(std::move(what)),
      clock_(TimedQueue::system()),
      begun_(clock_->time()),
      progress_(progressFor(arguments, [text = what_] { return text; })) {}

Errand::~Errand() {
  progress_.reset();
  if (output_.talk == Talk::verbose)
    remark(narrationOf(what_, clock_->time() - begun_), hostkit::KnownSecrets(), output_);
}

}  // namespace vellora::command
